// qmx-ic curve FILE: the mean of each pass, a quadratic through the means, and where the growth ends.

#include <memory>

#include "options/commands.hpp"
#include "options/road.hpp"
#include "study/document/curve_document.hpp"
#include "study/output/curve_file.hpp"
#include "text/curve_text.hpp"
#include "text/progress_line.hpp"

namespace qmx_terminal {

using namespace qmx_study;

namespace {

struct curve_options {
    reading_options reading;
    curve_question question;
    output_options output;
};

void run(const curve_options& options) {
    check(options.question);
    check(options.output, options.reading.files());
    progress shown(progress_line());
    loaded_lot lot = load(options.reading, needs_of(options.question), shown);
    curve_answer answer = analyse(options.question, lot);
    if (answer.has_curve()) answer.output = options.output.output;
    if (!answer.output.empty())
        write_curve(answer.output, "pass", answer.reading.value.name, answer.curve.x,
                    answer.curve.y);
    show(answer, options.output.as_json, curve_text);
}

} // namespace

void add_curve_command(CLI::App& program) {
    const auto options = std::make_shared<curve_options>();
    CLI::App* const command = program.add_subcommand(
        "curve", "Compaction curve: the mean of each pass, and where its growth ends");
    add_reading_options(*command, options->reading);
    const std::string group = "Analysis";
    command
        ->add_option("--growth", options->question.growth,
                     "Name the first pass after which the mean grows by less than this, percent")
        ->capture_default_str()
        ->group(group);
    command
        ->add_option("--min-points", options->question.least_points,
                     "Fewest points the lot must have")
        ->capture_default_str()
        ->group(group);
    command
        ->add_option("--max-pass", options->question.highest_pass,
                     "Highest pass number that the data may hold (that of the data)")
        ->check(CLI::Range(0, most_passes))
        ->group(group);
    add_output_options(*command, options->output, "the 100 points of the curve");
    command->callback([options] { run(*options); });
}

} // namespace qmx_terminal
