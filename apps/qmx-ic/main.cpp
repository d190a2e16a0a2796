// qmx-ic: analyses of intelligent compaction data from the command line.

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <iostream>
#include <new>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <fmt/format.h>
#include <qmx_ic.h>

#if !defined(_WIN32) && !defined(__wasi__)
#include <sys/resource.h>
#endif

#include "ending.hpp"
#include "options/commands.hpp"
#include "options/program.hpp"
#include "study/base/errors.hpp"
#include "study/base/open_file.hpp"
#include "study/base/output_file.hpp"

namespace {

using namespace qmx_terminal;

int run(CLI::App& program, int argc, char** argv, const ending& end) {
    constexpr const char* failed = "the analysis failed: ";
    try {
        program.parse(argc, argv);
        if (program.get_subcommands().empty())
            throw qmx_study::usage_error("a command is wanted; qmx-ic --help lists them");
        return done;
    } catch (const target_not_met&) {
        return target_missed;
    } catch (const CLI::Success& asked) { // --help, --version
        program.exit(asked);
        return done;
    } catch (const CLI::ParseError& error) {
        const std::string meant = suggestion_for(program, argc, argv);
        return end.fail(wrong_usage, "",
                        fmt::format("{}{}{}\n  qmx-ic --help tells more", error.what(),
                                    meant.empty() ? "" : ";", meant));
    } catch (const qmx_study::usage_error& error) {
        return end.fail(wrong_usage, "", error.what(), error.place);
    } catch (const printed_failure& error) {
        return end.fail(analysis_failed, failed, error.what());
    } catch (const qmx_study::library_error& error) {
        return end.fail(analysis_failed, failed, error.what(), {}, &error.event);
    } catch (const qmx_study::analysis_error& error) {
        return end.fail(analysis_failed, failed, error.what());
    } catch (const std::bad_alloc&) { // of more than there can ever be
        return end.fail(analysis_failed, "",
                        "there is not enough memory for so many rows; divide the file");
    } catch (const std::length_error&) { // the same
        return end.fail(analysis_failed, "",
                        "there is not enough memory for so many rows; divide the file");
    }
}

int run_program(int argc, char** argv) {
    end_at_lack_of_memory();
    qmx_study::use_binary_streams();
    qmx_study::remove_unfinished_files_when_interrupted();
    int code = wrong_usage;
    try {
        CLI::App program("Numerical analyses for intelligent compaction (roller) data.", "qmx-ic");
        program.set_version_flag("--version", "qmx-ic " QMX_IC_VERSION);
        set_up(program);
        const ending end(program, argc, argv);
        end_at_lack_of_memory(end);
        code = run(program, argc, argv, end);
        std::cout.flush(); // help and version go there
        if (!std::cout || std::fflush(stdout) != 0)
            code = ending::tell(wrong_usage, "", "standard output could not be written");
    } catch (const std::exception& error) {
        code = ending::tell(wrong_usage, "", error.what());
    }
    return code;
}

} // namespace

#if defined(_WIN32)
// The arguments as the system has them, made UTF-8: in the other form they have lost what the user's code
// page has no letter for.
int wmain(int argc, wchar_t** wide) {
    std::vector<std::string> texts;
    std::vector<char*> arguments;
    try {
        for (int i = 0; i < argc; ++i) {
            const std::u8string text = std::filesystem::path(wide[i]).u8string();
            texts.emplace_back(text.begin(), text.end());
        }
    } catch (const std::exception&) {
        return ending::tell(wrong_usage, "", "an argument is no text in Unicode");
    }
    for (std::string& text : texts) arguments.push_back(text.data());
    arguments.push_back(nullptr);
    return run_program(argc, arguments.data());
}
#elif defined(__wasi__)
int main(int argc, char** argv) {
    return run_program(argc, argv);
}
#else
// Where the system limits memory, a library may wait at its end for a thread of its own that waits for
// memory: it is not asked to end.
bool is_memory_limited() {
    rlimit limit{};
    for (const int kind : {RLIMIT_AS, RLIMIT_DATA})
        if (getrlimit(kind, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY) return true;
    return false;
}

int main(int argc, char** argv) {
    const int code = run_program(argc, argv);
    if (is_memory_limited()) std::_Exit(code); // all that was printed is out
    return code;
}
#endif
