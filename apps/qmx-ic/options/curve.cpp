// qmx-ic curve FILE: the mean of each pass, a quadratic through the means, and where the growth ends.

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>

#include <fmt/format.h>

#include "options/command.hpp"
#include "options/reading_options.hpp"
#include "study/document/failure_report.hpp"
#include "study/lot/row_filter.hpp"
#include "study/lot/value_range.hpp"
#include "study/output/curve_file.hpp"
#include "text/curve_report.hpp"

namespace qmx_study {

namespace {

constexpr double unknown = std::numeric_limits<double>::quiet_NaN();
constexpr std::int32_t most_passes = 100000; // no roller comes so often: a number beyond is a slip

struct curve_options {
    reading_options reading;
    double growth = 5;
    std::int32_t least_points = least_points_of_a_pass;
    std::int32_t highest_pass = 0;
    CLI::Option* highest_pass_option = nullptr;
    std::string output;
    bool as_json = false;
};

void refuse_strange_passes(const table_source& source, const lot& points) {
    for (std::size_t i = 0; i < points.points.size(); ++i)
        if (points.points[i].i_passno > most_passes)
            throw usage_error(fmt::format("{}, {}, column {}: {} is no number of a pass; leave the "
                                          "row out with --where or name the column with --pass",
                                          source.file, source.place(points.records[i]),
                                          points.pass.name, points.points[i].i_passno));
}

// The records of each pass next to each other.
std::vector<std::span<const t_icdata>> by_pass(std::vector<t_icdata>& points) {
    std::stable_sort(points.begin(), points.end(),
                     [](const t_icdata& a, const t_icdata& b) { return a.i_passno < b.i_passno; });
    std::vector<std::span<const t_icdata>> groups;
    for (auto first = points.begin(); first != points.end();) {
        const auto last = std::find_if(first, points.end(), [&](const t_icdata& point) {
            return point.i_passno != first->i_passno;
        });
        groups.emplace_back(first, last);
        first = last;
    }
    return groups;
}

pass_row row_of(std::span<const t_icdata> records) {
    constexpr std::size_t least_for_statistics = 3;
    pass_row row{records.front().i_passno,
                 static_cast<std::int64_t>(records.size()),
                 unknown,
                 unknown,
                 unknown,
                 unknown,
                 left_out::no};
    if (records.size() < least_for_statistics) return row;
    t_statsout statistics{};
    run_statistics(false, false, records, statistics);
    row.mean = static_cast<double>(statistics.x_stat[0]);
    row.deviation = static_cast<double>(statistics.x_stat[2]);
    return row;
}

void fill_passes(curve_report& report, const std::vector<std::span<const t_icdata>>& groups) {
    const std::int32_t end = report.curve.passes + 1; // the pass that ended the curve
    const auto highest = std::max_element(report.curve.means.begin(), report.curve.means.end());
    const auto lowest = std::min_element(report.curve.means.begin(), report.curve.means.end());
    // The walk over the passes started, and ended at `end`.
    const bool walked = report.curve.passes > 0 || (groups.front().front().i_passno == 1 &&
                                                    groups.front().size() < least_points_of_a_pass);
    bool seen_end = false;
    double before = unknown;
    for (const auto& records : groups) {
        pass_row row = row_of(records);
        if (row.pass >= 1 && row.pass < end) {
            row.mean = report.curve.means[static_cast<std::size_t>(row.pass) - 1];
            if (before > 0) row.growth = 100 * (row.mean - before) / before;
            before = row.mean;
            if (report.has_curve())
                row.fitted = std::clamp(quadratic(report.curve.fit, row.pass), *lowest, *highest);
            if (report.grown_out == 0 && row.growth < report.growth_limit)
                report.grown_out = row.pass - 1;
        } else if (!walked) {
            row.reason = left_out::no_curve;
        } else {
            if (row.pass > end && !seen_end)
                report.passes.push_back(
                    {end, 0, unknown, unknown, unknown, unknown, left_out::gap});
            seen_end |= row.pass >= end;
            row.reason =
                row.points < least_points_of_a_pass ? left_out::too_few : left_out::after_the_end;
        }
        report.passes.push_back(row);
    }
}

// Why there is no curve, in terms of the data; "" where there is one. The library's order.
std::string explanation_of(const curve_report& report, const curve_options& options,
                           std::int32_t highest_pass) {
    const lot& points = report.points;
    const t_icdata& first = points.points.front(); // they are sorted by pass now
    const t_icdata& last = points.points.back();
    if (!report.failure)
        return report.curve.passes > 1 ? ""
                                       : "Only pass 1 has 100 points: there is no curve through a "
                                         "single mean.";
    if (std::string memory = explanation_of_memory(*report.failure); !memory.empty()) return memory;
    if (highest_pass < 2) return "Give --max-pass 2 or more.";
    if (points.points.size() < static_cast<std::size_t>(std::max(options.least_points, 0)))
        return fmt::format("There are {} points, and --min-points asks for {}.",
                           points.points.size(), options.least_points);
    if (first.i_passno < 1)
        return fmt::format("There are pass numbers as low as {}; passes count from 1. Leave them "
                           "out: {}.",
                           first.i_passno, where_hint(points.pass.name, ">= 1"));
    if (first.i_passno > 1)
        return fmt::format("The lowest pass number is {}: the records of the first passes are "
                           "missing.",
                           first.i_passno);
    if (last.i_passno > highest_pass)
        return fmt::format("There are pass numbers up to {}. Raise --max-pass, or leave the later "
                           "passes out: {}.",
                           last.i_passno,
                           where_hint(points.pass.name, fmt::format("<= {}", highest_pass)));
    switch (report.curve.passes) {
    case 0:
        return fmt::format("Pass 1 has {} points, and a pass takes {}.",
                           std::count_if(points.points.begin(), points.points.end(),
                                         [](const t_icdata& point) { return point.i_passno == 1; }),
                           least_points_of_a_pass);
    case 2: return "Two passes went in, and a quadratic takes three.";
    default: return "The means of the passes are equal or lie on a line: a quadratic has no part.";
    }
}

void add_notes(curve_report& report, const curve_options& options) {
    if (report.cells.cells > 0 && report.cells.shared_cells == 0) {
        report.notes.push_back(
            "Every cell holds a single record: these look like data of final coverage, which feed "
            "statistics. The mean of a pass is then over the cells that saw no later one; a "
            "compaction curve takes the records of all passes.");
    } else if (report.cells.cells > 0 && !report.cells.is_all_passes()) {
        report.notes.push_back(fmt::format(
            "Only {} of {} cells hold more than one record: these look like data of final "
            "coverage. A compaction curve takes the records of all passes.",
            report.cells.shared_cells, report.cells.cells));
    }
    if (report.points.candidates.size() > 1 && options.reading.value.empty())
        report.notes.push_back("The value column was chosen among several; --value names another.");
    if (!report.has_curve()) return;
    const t_fitout& fit = report.curve.fit;
    const double slope = static_cast<double>(fit.x_coef[1]);
    const double bend = static_cast<double>(fit.x_coef[2]);
    const auto leaves_means = [&](const pass_row& row) {
        return row.reason == left_out::no &&
               std::fabs(row.fitted - quadratic(fit, row.pass)) > 1e-6 * std::fabs(row.fitted);
    };
    if (std::any_of(report.passes.begin(), report.passes.end(), leaves_means))
        report.notes.push_back("Where the quadratic leaves the range of the means, the curve is "
                               "held at its end.");
    const double turn = -slope / (2 * bend);
    if (turn > 1 && turn < report.curve.passes)
        report.notes.push_back(fmt::format(
            "The quadratic {} at pass {:.1f} and turns: beyond that it says nothing of the layer.",
            bend < 0 ? "peaks" : "is lowest", turn));
}

void run_curve(const curve_options& options) {
    if (!std::isfinite(options.growth))
        throw usage_error(fmt::format("--growth: {} is no percentage", options.growth));
    progress shown;
    table_source source(options.reading.file, options.reading.layer, shown);
    const row_survey survey =
        survey_rows(source, missing_texts_of(options.reading), decimal_of(options.reading));
    reading_needs needs;
    needs.pass = need::required;
    lot points = read_lot(source, survey, options.reading, needs, shown);
    refuse_values_too_large(source, points);
    refuse_strange_passes(source, points);

    curve_report report(source, points);
    report.growth_limit = options.growth;
    report.output = options.output;
    if (points.has_positions()) report.cells = summarise_cells(points);
    const auto groups = by_pass(points.points);
    points.records.clear(); // they stood in the order of the file
    const std::int32_t highest_pass = options.highest_pass_option->count() > 0
                                          ? options.highest_pass
                                          : std::max(points.points.back().i_passno, 2);
    report.failure =
        run_compaction_curve(highest_pass, options.least_points, points.points, report.curve);
    report.explanation = explanation_of(report, options, highest_pass);
    fill_passes(report, groups);
    add_notes(report, options);
    if (!report.has_curve()) report.output.clear();
    if (!report.output.empty())
        write_curve(report.output, source.file, "pass", points.value.name, report.curve.x,
                    report.curve.y);
    if (options.as_json) {
        print_document(curve_json(report));
    } else {
        fmt::print("{}", curve_text(report));
    }
    end_failed(report.failure, report.explanation);
}

} // namespace

void add_curve_command(CLI::App& program) {
    const auto options = std::make_shared<curve_options>();
    CLI::App* const command = program.add_subcommand(
        "curve", "Compaction curve: the mean of each pass, and where its growth ends");
    add_reading_options(*command, options->reading);
    const std::string group = "Analysis";
    command
        ->add_option("--growth", options->growth,
                     "Name the first pass after which the mean grows by less than this, percent")
        ->capture_default_str()
        ->group(group);
    command->add_option("--min-points", options->least_points, "Fewest points the lot must have")
        ->capture_default_str()
        ->group(group);
    options->highest_pass_option =
        command
            ->add_option("--max-pass", options->highest_pass,
                         "Highest pass number that the data may hold (that of the data)")
            ->check(CLI::Range(0, most_passes))
            ->group(group);
    command->add_option("--output", options->output, "Write the 100 points of the curve to a CSV")
        ->group("Output");
    command->add_flag("--json", options->as_json, "Print JSON")->group("Output");
    command->callback([options] { run_curve(*options); });
}

} // namespace qmx_study
