// qmx-ic: analyses of intelligent compaction data from the command line.

#include <cstdio>
#include <exception>
#include <filesystem>
#include <iostream>
#include <new>
#include <string>
#include <string_view>
#include <vector>

#include <fmt/format.h>
#include <qmx_ic.h>

#include "options/commands.hpp"
#include "options/program.hpp"
#include "study/base/errors.hpp"
#include "study/base/open_file.hpp"
#include "study/base/output_file.hpp"
#include "study/document/failure_document.hpp"

namespace {

using namespace qmx_terminal;

// Ends a run without an answer. The message is the only thing on standard error; where --json asks for
// a document, the failure is one.
class ending {
public:
    ending(const CLI::App& program, int argc, char** argv)
        : command(command_of(program, argc, argv)) {
        for (int i = 1; i < argc; ++i) as_json |= std::string_view(argv[i]) == "--json";
    }

    int fail(int code, const char* kind, const std::string& message,
             const qmx_study::error_place& place = {},
             const qmx_study::library_failure* event = nullptr) const {
        if (as_json)
            fmt::print("{}", qmx_study::text_of(qmx_study::failure_document(command, code, message,
                                                                            event, place)));
        return tell(code, kind, message);
    }
    static int tell(int code, const char* kind, const std::string& message) {
        std::fflush(stdout);
        fmt::print(stderr, "qmx-ic: {}{}\n", kind, message);
        return code;
    }

private:
    std::string command;
    bool as_json = false;
};

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
        return ending::tell(analysis_failed, failed, error.what());
    } catch (const qmx_study::library_error& error) {
        return end.fail(analysis_failed, failed, error.what(), {}, &error.event);
    } catch (const qmx_study::analysis_error& error) {
        return end.fail(analysis_failed, failed, error.what());
    } catch (const std::bad_alloc&) {
        return end.fail(analysis_failed, "",
                        "there is not enough memory for so many rows; divide the file");
    }
}

int run_program(int argc, char** argv) {
    qmx_study::use_binary_streams();
    qmx_study::remove_unfinished_files_when_interrupted();
    CLI::App program("Numerical analyses for intelligent compaction (roller) data.", "qmx-ic");
    program.set_version_flag("--version", "qmx-ic " QMX_IC_VERSION);
    int code = wrong_usage;
    try {
        set_up(program);
        const ending end(program, argc, argv);
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
#else
int main(int argc, char** argv) {
    return run_program(argc, argv);
}
#endif
