// qmx-ic init FILE: writes a commented job file from what is recognised in the points.

#include <filesystem>
#include <memory>
#include <string>

#include <fmt/format.h>

#include "options/commands.hpp"
#include "options/road.hpp"
#include "study/base/open_file.hpp"
#include "study/base/output_file.hpp"
#include "study/job/job_proposal.hpp"
#include "text/progress_line.hpp"

namespace qmx_terminal {

using namespace qmx_study;

namespace {

struct init_options {
    reading_options reading;
    std::string tests, area, output = "job.toml";
    bool force = false;
};

void run(const init_options& options) {
    if (options.output != "-" && !options.force &&
        std::filesystem::exists(qmx_study::path_of(options.output)))
        throw usage_error(
            fmt::format("{} is there already; --force writes over it", options.output));
    refuse_inputs_as_output(options.reading.files(), options.output);
    progress shown(progress_line());
    job_settings known;
    known.reading = options.reading;
    known.tests = options.tests;
    known.area = options.area;
    const std::string text = init_text(known, options.output == "-" ? "" : options.output, shown);
    shown.clear();
    if (options.output == "-") {
        print_answer(text);
        return;
    }
    write_output(options.output, text);
    print_answer(fmt::format("{} is written: look through it, then run qmx-ic report --job {}\n",
                             options.output, options.output));
}

} // namespace

void add_init_command(CLI::App& program) {
    const auto options = std::make_shared<init_options>();
    CLI::App* const command = program.add_subcommand(
        "init", "A commented job file for the report, from what is recognised in the points");
    add_reading_options(*command, options->reading);
    command->add_option("--tests", options->tests, "Table of the spot tests")->group("Job");
    command->add_option("--area", options->area, "Polygons of the alignment")->group("Job");
    command->add_option("-o,--output", options->output, "The job file; - is standard output")
        ->capture_default_str()
        ->group("Job");
    command->add_flag("--force", options->force, "Write over a file that is there")->group("Job");
    command->callback([options] { run(*options); });
}

} // namespace qmx_terminal
