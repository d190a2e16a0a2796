#include "study/analyses/curve.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <span>

#include <fmt/format.h>

#include "study/analyses/lot_notes.hpp"
#include "study/analyses/wrong_option.hpp"
#include "study/lot/row_filter.hpp"
#include "study/lot/value_range.hpp"

namespace qmx_study {

namespace {

constexpr double unknown = std::numeric_limits<double>::quiet_NaN();

void refuse_strange_passes(const loaded_lot& lot) {
    const std::vector<t_icdata>& points = lot.data.points;
    for (std::size_t i = 0; i < points.size(); ++i)
        if (points[i].i_passno > most_passes)
            throw usage_error(fmt::format("{}, {}, column {}: {} is no number of a pass; leave the "
                                          "row out with --where or name the column with --pass",
                                          lot.source().file, lot.place(lot.data.records[i]),
                                          lot.data.pass.name, points[i].i_passno));
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

struct mean_range {
    double lowest = unknown, highest = unknown;
};

// A pass that is in the curve; `before` is the mean of the pass before, NaN where there is none.
void take_into_curve(curve_answer& answer, pass_row& row, const mean_range& range, double& before) {
    const compaction_curve& curve = answer.curve;
    row.mean = curve.means[static_cast<std::size_t>(row.pass) - 1];
    if (before > 0) row.growth = 100 * (row.mean - before) / before;
    before = row.mean;
    if (answer.has_curve())
        row.fitted = std::clamp(quadratic(curve.fit, row.pass), range.lowest, range.highest);
    if (answer.grown_out == 0 && row.growth < answer.growth_limit) {
        answer.grown_out = row.pass - 1;
        answer.last_growth = row.growth;
    }
}

void fill_passes(curve_answer& answer, const std::vector<std::span<const t_icdata>>& groups) {
    const std::int32_t end = answer.curve.passes + 1; // the pass that ended the curve
    // The passes were taken from 1 on, up to `end`.
    const bool has_begun =
        answer.curve.passes > 0 ||
        (groups.front().front().i_passno == 1 && groups.front().size() < least_points_of_a_pass);
    mean_range range;
    if (!answer.curve.means.empty()) {
        const auto [lowest, highest] =
            std::minmax_element(answer.curve.means.begin(), answer.curve.means.end());
        range = {*lowest, *highest};
    }
    bool seen_end = false;
    double before = unknown;
    for (const auto& records : groups) {
        pass_row row = row_of(records);
        if (row.pass >= 1 && row.pass < end) {
            take_into_curve(answer, row, range, before);
        } else if (!has_begun) {
            row.reason = left_out::no_curve;
        } else {
            if (row.pass > end && !seen_end)
                answer.passes.push_back(
                    {end, 0, unknown, unknown, unknown, unknown, left_out::gap});
            seen_end |= row.pass >= end;
            row.reason =
                row.points < least_points_of_a_pass ? left_out::too_few : left_out::after_the_end;
        }
        answer.passes.push_back(row);
    }
    answer.has_growth =
        std::all_of(answer.curve.means.begin(), answer.curve.means.begin() + std::max(end - 2, 0),
                    [](double mean) { return mean > 0; });
}

// Why there is no curve, in terms of the data; "" where there is one. The library's order.
std::string explanation_of(const curve_answer& answer, const curve_question& question,
                           std::int32_t highest_pass, const std::vector<t_icdata>& points,
                           const std::string& pass_column) {
    const t_icdata& first = points.front(); // they are sorted by pass now
    const t_icdata& last = points.back();
    if (!answer.failure.event)
        return answer.curve.passes > 1 ? ""
                                       : "Only pass 1 has 100 points: there is no curve through a "
                                         "single mean.";
    if (highest_pass < 2) return "Give --max-pass 2 or more.";
    if (points.size() < static_cast<std::size_t>(std::max(question.least_points, 0)))
        return fmt::format("There are {} points, fewer than the {} that a pass takes (--min-points "
                           "of qmx-ic curve).",
                           points.size(), question.least_points);
    if (first.i_passno < 1)
        return fmt::format("There are pass numbers as low as {}; passes count from 1. Leave them "
                           "out: {}.",
                           first.i_passno, where_hint(pass_column, ">= 1"));
    if (first.i_passno > 1)
        return fmt::format("The lowest pass number is {}: the records of the first passes are "
                           "missing.",
                           first.i_passno);
    if (last.i_passno > highest_pass)
        return fmt::format("There are pass numbers up to {}. Raise --max-pass, or leave the later "
                           "passes out: {}.",
                           last.i_passno,
                           where_hint(pass_column, fmt::format("<= {}", highest_pass)));
    switch (answer.curve.passes) {
    case 0:
        return fmt::format("Pass 1 has {} points, and a pass takes {}.",
                           std::count_if(points.begin(), points.end(),
                                         [](const t_icdata& point) { return point.i_passno == 1; }),
                           least_points_of_a_pass);
    case 2: return "Two passes went in, and a quadratic takes three.";
    default: return "The pass means are constant or linear: no quadratic is fitted.";
    }
}

void note_cells(curve_answer& answer) {
    const cell_summary& cells = answer.cells;
    if (cells.cells > 0 && cells.shared_cells == 0) {
        answer.notes.push_back(
            "Every cell holds a single record: these look like data of final coverage, which feed "
            "statistics. The mean of a pass is then over the cells that saw no later one; a "
            "compaction curve takes the records of all passes.");
    } else if (cells.cells > 0 && !cells.is_all_passes()) {
        answer.notes.push_back(fmt::format(
            "Only {} of {} cells hold more than one record: these look like data of final "
            "coverage. A compaction curve takes the records of all passes.",
            cells.shared_cells, cells.cells));
    }
}

void note_curve(curve_answer& answer) {
    const t_fitout& fit = answer.curve.fit;
    const double slope = static_cast<double>(fit.x_coef[1]);
    const double bend = static_cast<double>(fit.x_coef[2]);
    const auto leaves_means = [&](const pass_row& row) {
        return row.reason == left_out::no &&
               std::fabs(row.fitted - quadratic(fit, row.pass)) > 1e-6 * std::fabs(row.fitted);
    };
    if (std::any_of(answer.passes.begin(), answer.passes.end(), leaves_means))
        answer.notes.push_back("Where the quadratic leaves the range of the means, the curve is "
                               "held at its end.");
    const double turn = -slope / (2 * bend);
    if (turn > 1 && turn < answer.curve.passes)
        answer.notes.push_back(fmt::format(
            "The quadratic {} at pass {:.1f} and turns: beyond that it says nothing of the layer.",
            bend < 0 ? "peaks" : "is lowest", turn));
}

} // namespace

double quadratic(const t_fitout& fit, double pass) {
    double value = 0;
    for (int k = 2; k >= 0; --k) value = value * pass + static_cast<double>(fit.x_coef[k]);
    return value;
}

void check(const curve_question& question) {
    if (!std::isfinite(question.growth))
        throw wrong_option("--growth", ": {} is no percentage", question.growth);
}

reading_needs needs_of(const curve_question&) {
    reading_needs needs;
    needs.pass = need::required;
    return needs;
}

curve_answer analyse(const curve_question& question, loaded_lot& lot) {
    cell_summary cells;
    if (lot.data.has_positions()) cells = summarise_cells(lot.data);
    return analyse(question, lot, lot.data.points, cells);
}

curve_answer analyse(const curve_question& question, const loaded_lot& lot,
                     std::vector<t_icdata> points, const cell_summary& cells) {
    refuse_values_too_large(lot.source(), lot.data);
    refuse_strange_passes(lot);
    curve_answer answer;
    answer.reading = account_of(lot);
    answer.growth_limit = question.growth;
    answer.cells = cells;
    const auto groups = by_pass(points);
    const std::int32_t highest_pass =
        question.highest_pass.value_or(std::max(points.back().i_passno, 2));
    answer.failure.event =
        run_compaction_curve(highest_pass, question.least_points, points, answer.curve);
    answer.failure.explanation =
        explanation_of(answer, question, highest_pass, points, lot.data.pass.name);
    fill_passes(answer, groups);
    note_cells(answer);
    note_chosen_value(answer.notes, lot);
    if (answer.has_curve()) note_curve(answer);
    return answer;
}

} // namespace qmx_study
