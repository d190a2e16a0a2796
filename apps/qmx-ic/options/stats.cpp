// qmx-ic stats FILE: fifteen statistics, histogram, percent levels and target test of one measure.

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <vector>

#include <fmt/format.h>

#include "options/command.hpp"
#include "options/reading_options.hpp"
#include "study/analyses/library_call.hpp"
#include "study/base/number_text.hpp"
#include "study/lot/cells.hpp"
#include "study/lot/lot_reader.hpp"
#include "study/lot/value_range.hpp"
#include "text/stats_report.hpp"

namespace qmx_study {

namespace {

struct stats_options {
    reading_options reading;
    bool pass_counts = false;
    bool below = false;
    bool last_pass = false;
    bool all_records = false;
    bool as_json = false;
    double target = 0;
    double target_percent = 90;
    std::vector<double> levels{10, 90};
    CLI::Option* target_option = nullptr;
    CLI::Option* percent_option = nullptr;
};

t_statsout prepared(const stats_options& options) {
    t_statsout result{};
    result.i_flag_target = options.target_option->count() > 0 ? QMX_IC_YES : QMX_IC_NO;
    result.x_target = static_cast<float>(options.target);
    result.x_target_pct = static_cast<float>(options.target_percent);
    result.x_achieved_pct = std::numeric_limits<float>::quiet_NaN();
    for (int i = 0; i < 2; ++i) {
        result.x_pctlevel[i] = static_cast<float>(options.levels[static_cast<std::size_t>(i)]);
        result.x_pctvalue[i] = std::numeric_limits<float>::quiet_NaN();
    }
    return result;
}

// With exactly 200 classes the library's record is full and the last cumulative percentage takes the
// place of the target before the test reads it: that verdict is about another target.
void withdraw_overrun_target(stats_report& report, const stats_options& options) {
    t_statsout& result = report.result;
    if (!report.pass_counts || result.i_numbins != 200 || result.i_flag_target != QMX_IC_YES)
        return;
    result.x_target = static_cast<float>(options.target);
    result.x_achieved_pct = std::numeric_limits<float>::quiet_NaN();
    result.i_target_met = 0;
    report.notes.push_back(
        "Pass counts up to 199 fill all 200 classes, which leaves no room for the "
        "target test: there is no verdict. Leave out the rows with 199 passes "
        "(--where) to get one.");
}

// A sensor at its cap gives one value again and again. Says so when a twentieth of the values equal the
// largest one.
void note_capped_values(stats_report& report) {
    const std::vector<t_icdata>& points = report.points.points;
    const auto greater = [](const t_icdata& a, const t_icdata& b) { return a.d_val < b.d_val; };
    const double largest = std::max_element(points.begin(), points.end(), greater)->d_val;
    const auto count = std::count_if(points.begin(), points.end(),
                                     [&](const t_icdata& point) { return point.d_val == largest; });
    if (count < 5 || 20 * static_cast<std::size_t>(count) < points.size()) return;
    report.notes.push_back(fmt::format("{} of {} values equal the largest, {}: the sensor may have "
                                       "been at its cap, and the true values higher.",
                                       count, points.size(), largest));
}

void add_notes(stats_report& report, const stats_options& options) {
    const t_statsout& result = report.result;
    if (report.cells.is_all_passes() && !options.all_records)
        report.notes.push_back(fmt::format(
            "{} of {} cells hold several records (up to {}): these are data of all passes. "
            "Statistics of a finished layer are those of the last pass in each cell: --last-pass "
            "takes it, --all-records confirms that all records are meant.",
            report.cells.shared_cells, report.cells.cells, report.cells.most_records));
    if (report.is_constant()) {
        report.notes.push_back("All values are (nearly) equal: there are no percent levels and no "
                               "target test.");
    } else if (!(result.x_cumfreq[0] > 0) &&
               !(result.x_cumfreq[result.i_numbins > 0 ? result.i_numbins - 1 : 0] > 0)) {
        report.notes.push_back("The values differ too little for their size: 32-bit class limits "
                               "coincide, so the histogram, the percent levels and the target test "
                               "carry no meaning.");
    }
    if (!report.pass_counts && !report.is_constant()) note_capped_values(report);
    if (report.points.candidates.size() > 1 && options.reading.value.empty())
        report.notes.push_back("The value column was chosen among several; --value names another.");
    report.notes.push_back("The 95 % limits take the values as independent. Neighbouring cells are "
                           "alike, so the limits come out too narrow.");
}

void run_stats(const stats_options& options) {
    for (const double level : options.levels)
        if (!(level >= 0 && level <= 100))
            throw usage_error(fmt::format("--levels: {} is no percentage from 0 to 100", level));
    if (options.percent_option->count() > 0 && options.target_option->count() == 0)
        throw usage_error("--target-percent needs --target");
    if (!(options.target_percent >= 0 && options.target_percent <= 100))
        throw usage_error(fmt::format("--target-percent: {} is no percentage from 0 to 100",
                                      options.target_percent));
    if (!(std::fabs(options.target) <= static_cast<double>(std::numeric_limits<float>::max())))
        throw usage_error(fmt::format("--target: {} is no number to compare with", options.target));
    if (options.below && options.target_option->count() == 0)
        throw usage_error("--below needs --target");

    progress shown;
    table_source source(options.reading.file, options.reading.layer, shown);
    const row_survey survey =
        survey_rows(source, missing_texts_of(options.reading), decimal_of(options.reading));
    reading_needs needs;
    needs.value_is_pass = options.pass_counts;
    if (options.last_pass) {
        needs.position = need::required;
        needs.pass = need::complete;
    }
    lot points = read_lot(source, survey, options.reading, needs, shown);
    refuse_values_too_large(source, points);

    stats_report report(source, points);
    report.result = prepared(options);
    report.pass_counts = options.pass_counts;
    report.below = options.below;
    report.last_pass = options.last_pass;
    if (points.has_positions()) report.cells = summarise_cells(points);
    if (options.last_pass) {
        report.earlier_passes = keep_last_pass(points);
        if (!points.pass.found() && report.earlier_passes > 0)
            report.notes.push_back("There is no column of pass numbers: the later row of a cell "
                                   "counts as its last pass.");
    }
    run_statistics(options.pass_counts, options.below, points.points, report.result);
    withdraw_overrun_target(report, options);
    if (options.last_pass) report.cells.shared_cells = 0;
    add_notes(report, options);
    if (options.as_json) {
        print_document(stats_json(report));
    } else {
        fmt::print("{}", stats_text(report));
    }
}

} // namespace

void add_stats_command(CLI::App& program) {
    const auto options = std::make_shared<stats_options>();
    CLI::App* const command = program.add_subcommand(
        "stats", "Statistics, histogram, percent levels and target test of one measure");
    add_reading_options(*command, options->reading);
    const std::string group = "Analysis";
    command
        ->add_flag("--pass-counts", options->pass_counts,
                   "The values are pass counts (classes 0, 1, 2, ...)")
        ->group(group);
    options->target_option =
        command
            ->add_option("--target", options->target, "Target value (with --pass-counts: passes)")
            ->group(group);
    options->percent_option =
        command
            ->add_option("--target-percent", options->target_percent,
                         "Percentage of the values that must lie above the target")
            ->capture_default_str()
            ->group(group);
    command->add_flag("--below", options->below, "Values at or below the target count instead")
        ->group(group);
    command->add_option("--levels", options->levels, "Two percent levels to be read back as values")
        ->expected(2)
        ->delimiter(',')
        ->capture_default_str()
        ->group(group);
    CLI::Option* const last =
        command->add_flag("--last-pass", options->last_pass, "Only the last pass of each cell")
            ->group(group);
    command
        ->add_flag("--all-records", options->all_records,
                   "All records of a cell are meant, though there are several")
        ->excludes(last)
        ->group(group);
    command->add_flag("--json", options->as_json, "Print JSON")->group("Output");
    command->callback([options] { run_stats(*options); });
}

} // namespace qmx_study
