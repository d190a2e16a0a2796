// qmx-ic: analyses of intelligent compaction data from the command line.

#include <cstdio>
#include <exception>
#include <new>

#include <fmt/format.h>

#include "options/commands.hpp"
#include "study/base/errors.hpp"

namespace {

// The message stands after whatever was printed, and is the only thing on standard error.
int fail(int code, const char* kind, const char* message) {
    std::fflush(stdout);
    fmt::print(stderr, "qmx-ic: {}{}\n", kind, message);
    return code;
}

int run(int argc, char** argv) {
    using namespace qmx_terminal;
    using qmx_study::analysis_error;
    using qmx_study::usage_error;
    CLI::App program("Numerical analyses for intelligent compaction (roller) data.", "qmx-ic");
    program.set_version_flag("--version", "qmx-ic " QMX_IC_VERSION);
    program.footer("Exit codes: 0 done, 1 the analysis failed, 2 wrong usage or unreadable input,\n"
                   "3 the target is missed (where --exit-code asks for it).\n"
                   "qmx-ic COMMAND --help tells the options of a command.");
    add_columns_command(program);
    add_stats_command(program);
    add_select_command(program);
    add_coverage_command(program);
    add_semivariogram_command(program);
    add_curve_command(program);
    add_spots_command(program);
    add_fit_command(program);
    add_generate_command(program);
    try {
        program.parse(argc, argv);
        if (program.get_subcommands().empty())
            throw usage_error("a command is wanted; qmx-ic --help lists them");
        return done;
    } catch (const target_not_met&) {
        return target_missed;
    } catch (const CLI::Success& asked) { // --help, --version
        program.exit(asked);
        return done;
    } catch (const CLI::ParseError& error) {
        return fail(wrong_usage, "",
                    fmt::format("{}\n  qmx-ic --help tells more", error.what()).c_str());
    } catch (const usage_error& error) {
        return fail(wrong_usage, "", error.what());
    } catch (const analysis_error& error) {
        return fail(analysis_failed, "the analysis failed: ", error.what());
    } catch (const std::bad_alloc&) {
        return fail(analysis_failed, "",
                    "there is not enough memory for so many rows; divide the file");
    }
}

} // namespace

int main(int argc, char** argv) {
    int code = qmx_terminal::wrong_usage;
    try {
        code = run(argc, argv);
        if (std::fflush(stdout) != 0) code = fail(2, "", "standard output could not be written");
    } catch (const std::exception& error) {
        code = fail(qmx_terminal::wrong_usage, "", error.what());
    }
    return code;
}
