// qmx-ic spots FILE TESTS: IC data round each spot test, and the line through the pairs.

#include <limits>
#include <memory>

#include "options/commands.hpp"
#include "options/road.hpp"
#include "study/document/spots_document.hpp"
#include "study/lot/column_names.hpp"
#include "study/output/answer_tables.hpp"
#include "text/progress_line.hpp"
#include "text/spots_text.hpp"

namespace qmx_terminal {

using namespace qmx_study;

namespace {

struct spots_options {
    reading_options reading, tests;
    spots_question question;
    output_options output;
};

void run(const spots_options& options) {
    check(options.question);
    if (options.reading.further_files.empty())
        throw usage_error("TESTS is required: name the file of the spot tests behind the points");
    reading_options points = options.reading;
    reading_options tests = options.tests;
    tests.file = points.further_files.back();
    points.further_files.pop_back();
    check(options.output, options.reading.files());
    progress shown(progress_line());
    spot_tables tables = load_spots(points, tests, shown);
    spots_answer answer = analyse(options.question, tables);
    if (!answer.failure.has_failed()) answer.output = options.output.output;
    if (!answer.output.empty()) write_table(answer.output, answer);
    show(answer, options.output.as_json, spots_text);
}

} // namespace

void add_spots_command(CLI::App& program) {
    const auto options = std::make_shared<spots_options>();
    CLI::App* const command = program.add_subcommand(
        "spots", "Spot tests: the IC data round each, and the line through the pairs");
    add_reading_options(*command, options->reading);
    command->get_option("FILE")->description(
        "Points: one file or several, as other commands take them; the last file holds the spot "
        "tests: a table with position, value and, where known, pass number");
    const std::string group = "Spot tests";
    command->add_option("--test-x", options->tests.x, "Column of their eastings")->group(group);
    command->add_option("--test-y", options->tests.y, "Column of their northings")->group(group);
    command
        ->add_option("--test-value", options->tests.value,
                     fmt::format("Column of their values; otherwise the first of these names that "
                                 "is filled in at least half of the rows: {}",
                                 spot_value_order()))
        ->group(group);
    command
        ->add_option(
            "--test-pass", options->tests.pass,
            "Column of the pass after which they were made; an empty cell means all passes")
        ->group(group);
    command->add_option("--test-layer", options->tests.layer, "Layer of a file with several")
        ->group(group);
    const std::string analysis = "Analysis";
    command
        ->add_option("--radius", options->question.radius,
                     "Of the circle round each spot test, rim included, unit of the positions")
        ->required()
        ->group(analysis);
    command
        ->add_flag("--any-pass", options->question.any_pass, "Match with the IC data of all passes")
        ->group(analysis);
    command
        ->add_option("--min-ic", options->question.least_values,
                     "Fewest IC values with which a test enters the line")
        ->check(CLI::Range(1, std::numeric_limits<std::int32_t>::max()))
        ->capture_default_str()
        ->group(analysis);
    command->add_option("--min-n", options->question.least_pairs, "Warn of a line on fewer pairs")
        ->capture_default_str()
        ->group(analysis);
    command
        ->add_option("--min-r", options->question.least_correlation, "Warn of a correlation below")
        ->capture_default_str()
        ->group(analysis);
    add_output_options(*command, options->output, "the tests with what was found round them");
    command->callback([options] { run(*options); });
}

} // namespace qmx_terminal
