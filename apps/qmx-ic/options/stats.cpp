// qmx-ic stats FILE: fifteen statistics, histogram, percent levels and target test of one measure.

#include <memory>

#include "options/commands.hpp"
#include "options/road.hpp"
#include "study/analyses/wrong_option.hpp"
#include "study/document/stats_document.hpp"
#include "study/output/answer_tables.hpp"
#include "text/progress_line.hpp"
#include "text/stats_text.hpp"

namespace qmx_terminal {

using namespace qmx_study;

namespace {

struct stats_options {
    reading_options reading;
    stats_question question;
    output_options output;
    bool exit_code = false;
};

void run(const stats_options& options) {
    check(options.question);
    if (options.exit_code && !options.question.target)
        throw wrong_option("--exit-code", " needs --target");
    check(options.output, options.reading.files());
    progress shown(progress_line());
    loaded_lot lot = load(options.reading, needs_of(options.question), shown);
    stats_answer answer = analyse(options.question, lot);
    answer.output = options.output.output;
    if (!answer.output.empty()) write_table(answer.output, answer);
    show(answer, options.output.as_json, stats_text);
    if (options.exit_code && !answer.target->is_met()) throw target_not_met();
}

} // namespace

void add_stats_command(CLI::App& program) {
    const auto options = std::make_shared<stats_options>();
    CLI::App* const command = program.add_subcommand(
        "stats", "Statistics, histogram, percent levels and target test of one measure");
    add_reading_options(*command, options->reading);
    const std::string group = "Analysis";
    command
        ->add_flag("--pass-counts", options->question.pass_counts,
                   "The values are pass counts (classes 0, 1, 2, ...)")
        ->group(group);
    command
        ->add_option("--target", options->question.target,
                     "Target value (with --pass-counts: passes)")
        ->group(group);
    command
        ->add_option("--target-percent", options->question.target_percent,
                     "Percentage of the values that must be at or above the target")
        ->default_str("90")
        ->group(group);
    command
        ->add_flag("--below", options->question.below,
                   "Values at or below the target count instead")
        ->group(group);
    command
        ->add_option("--levels", options->question.levels,
                     "Two percentages whose quantiles are shown")
        ->expected(2)
        ->delimiter(',')
        ->capture_default_str()
        ->group(group);
    CLI::Option* const last =
        command
            ->add_flag("--last-pass", options->question.last_pass,
                       "The last pass of each cell, also where few cells have several records")
            ->group(group);
    command
        ->add_flag("--all-records", options->question.all_records,
                   "All records of each cell; otherwise data of all passes give their last pass")
        ->excludes(last)
        ->group(group);
    command
        ->add_flag("--exit-code", options->exit_code,
                   "End with 3 when the target is missed, by the counted share")
        ->group("Output");
    add_output_options(*command, options->output, "statistics, quantiles and histogram");
    command->callback([options] { run(*options); });
}

} // namespace qmx_terminal
