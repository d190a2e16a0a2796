#include "study/analyses/report_cautions.hpp"

#include <algorithm>
#include <cmath>

#include <fmt/format.h>

#include "study/base/value_text.hpp"

namespace qmx_study {

namespace {

using cautions = std::vector<caution>;

std::string length_text(const report_answer& answer, double length) {
    const std::string digits = fmt::format("{:.3g}", length);
    return answer.length_unit.empty() ? digits : digits + " " + answer.length_unit;
}

void caution_of_data(const report_answer& answer, cautions& all) {
    const auto add = [&](const char* key, std::string text, std::vector<double> numbers) {
        all.push_back({"data", key, std::move(text), std::move(numbers)});
    };
    const auto share = [](std::int64_t part, std::int64_t of) {
        return 100.0 * static_cast<double>(part) /
               static_cast<double>(std::max<std::int64_t>(of, 1));
    };
    const trait_summary::column& lifts = answer.traits[trait::lift];
    const auto several = [](const trait_summary::column& column) {
        return static_cast<std::int64_t>(column.names.size()) + column.further_names;
    };
    if (several(lifts) > 1)
        add("mixed_lifts",
            fmt::format("The rows belong to {} lifts: cells of one lift hide those below. A filter "
                        "takes one lift.",
                        several(lifts)),
            {static_cast<double>(several(lifts))});
    const trait_summary::column& machines = answer.traits[trait::machine];
    if (several(machines) > 1)
        add("several_machines",
            fmt::format("{} machines measured: their values compare only where they are "
                        "calibrated against each other.",
                        several(machines)),
            {static_cast<double>(several(machines))});
    const std::int64_t used = answer.reading.rows_used + answer.reading.earlier_passes;
    if (answer.traits.rows_without_vibration > 0)
        add("vibration_off",
            fmt::format(
                "{} of the rows in use ({:.1f} %) were made with vibration off: their values "
                "mean something else. A filter leaves them out.",
                count_text(answer.traits.rows_without_vibration),
                share(answer.traits.rows_without_vibration, used)),
            {static_cast<double>(answer.traits.rows_without_vibration),
             share(answer.traits.rows_without_vibration, used)});
    constexpr double many_dropped = 2; // percent
    const double dropped = share(answer.reading.rows_dropped, answer.reading.rows_read);
    if (dropped > many_dropped)
        add("many_dropped",
            fmt::format("{} of {} rows ({:.1f} %) could not be used; the table of rows says why.",
                        count_text(answer.reading.rows_dropped),
                        count_text(answer.reading.rows_read), dropped),
            {static_cast<double>(answer.reading.rows_dropped), dropped});
    if (answer.rows_without_pass > 0)
        add("rows_without_pass",
            fmt::format(
                "{} rows have no pass number: they are in no compaction curve, and the first "
                "to give way where a cell has several records.",
                count_text(answer.rows_without_pass)),
            {static_cast<double>(answer.rows_without_pass)});
}

void caution_of_stats(const report_answer& answer, cautions& all) {
    if (!answer.stats) return;
    const auto add = [&](const char* key, std::string text, std::vector<double> numbers) {
        all.push_back({"stats", key, std::move(text), std::move(numbers)});
    };
    const std::size_t count = static_cast<std::size_t>(answer.stats->result.i_numdata);
    if (answer.stats->is_constant()) {
        add("constant", "All values are (nearly) equal: there is nothing to tell cells apart by.",
            {});
    } else if (answer.at_greatest_value >= 5 &&
               20 * static_cast<std::size_t>(answer.at_greatest_value) >= count) {
        const double percent =
            100 * static_cast<double>(answer.at_greatest_value) / static_cast<double>(count);
        add("capped_sensor",
            fmt::format(
                "{} of {} values ({:.1f} %) equal the greatest, {}: the sensor may have been "
                "at its cap, and the true values higher.",
                count_text(answer.at_greatest_value), count_text(static_cast<std::int64_t>(count)),
                percent, number_text(answer.greatest_value)),
            {static_cast<double>(answer.at_greatest_value), percent, answer.greatest_value});
    }
    constexpr std::size_t few = 30;
    if (count < few)
        add("few_values", fmt::format("{} values are few for a distribution.", count),
            {static_cast<double>(count)});
    const bool has_range = answer.semivariogram && answer.semivariogram->is_fitted() &&
                           answer.semivariogram->flattens() &&
                           answer.semivariogram->range_bound == model_bound::none;
    const double range =
        has_range ? static_cast<double>(answer.semivariogram->result.reading[0]) : 0;
    const double spacing =
        answer.lattice ? std::max(answer.lattice->along, answer.lattice->across) : 0;
    if (range > spacing && spacing > 0)
        add("correlated_cells",
            fmt::format(
                "Neighbouring cells are alike up to {}: confidence limits over them come out "
                "too narrow.",
                length_text(answer, range)),
            {range});
}

void caution_of_spots(const report_answer& answer, cautions& all) {
    if (!answer.spots) return;
    const spots_answer& spots = *answer.spots;
    const auto add = [&](const char* key, std::string text, std::vector<double> numbers) {
        all.push_back({"spots", key, std::move(text), std::move(numbers)});
    };
    if (!spots.line) {
        add("failed_fit", spots.failure.explanation, {});
        return;
    }
    if (spots.line->pairs < spots.least_pairs)
        add("few_tests",
            fmt::format("{} tests are few for a correlation; {} or more are wanted.",
                        spots.line->pairs, spots.least_pairs),
            {static_cast<double>(spots.line->pairs), static_cast<double>(spots.least_pairs)});
    if (spots.line->slope < 0)
        add("negative_slope",
            "Where the spot tests read more, the roller reads less: the line says nothing of "
            "stiffness.",
            {});
    if (spots.line->r < spots.least_correlation)
        add("low_correlation",
            fmt::format("r is {:.3f}, below {}: roller values do not stand for the tests here.",
                        spots.line->r, number_text(spots.least_correlation)),
            {spots.line->r, spots.least_correlation});
    const auto unmatched =
        std::count_if(spots.spots.begin(), spots.spots.end(),
                      [](const spot_row& spot) { return spot.state != spot_state::in_line; });
    if (unmatched > 0)
        add("unmatched_tests",
            fmt::format("{} of {} tests are not in the line: too few roller values lie round them.",
                        unmatched, spots.spots.size()),
            {static_cast<double>(unmatched), static_cast<double>(spots.spots.size())});
}

void caution_of_curve(const report_answer& answer, cautions& all) {
    if (!answer.curve) return;
    const curve_answer& curve = *answer.curve;
    if (!curve.has_curve()) {
        all.push_back({"curve", "failed_fit", curve.failure.explanation, {}});
    } else if (curve.grown_out == 0) {
        all.push_back({"curve",
                       "still_growing",
                       "The mean still grows with the last pass: compaction has not ended.",
                       {}});
    }
    if (curve.cells.cells > 0 && !curve.cells.is_all_passes())
        all.push_back({"curve",
                       "final_coverage",
                       "Hardly a cell holds more than one record: these look like data of final "
                       "coverage, and a curve takes the records of all passes.",
                       {}});
}

void caution_of_semivariogram(const report_answer& answer, cautions& all) {
    if (!answer.semivariogram) return;
    const semivariogram_answer& found = *answer.semivariogram;
    const auto add = [&](const char* key, std::string text, std::vector<double> numbers) {
        all.push_back({"semivariogram", key, std::move(text), std::move(numbers)});
    };
    if (!found.is_fitted()) {
        add("failed_fit", found.failure.explanation, {});
    } else if (!found.flattens() || found.range_bound == model_bound::upper) {
        add("no_range", "The semivariance still rises at the longest lags: they show no range.",
            {});
    }
    if (found.drawn > 0)
        add("drawn_points",
            fmt::format(
                "{} of {} cells were drawn by chance, the same ones each time, for the pairs.",
                count_text(static_cast<std::int64_t>(found.drawn)),
                count_text(static_cast<std::int64_t>(found.layout.points))),
            {static_cast<double>(found.drawn), static_cast<double>(found.layout.points)});
}

void caution_of_coverage(const report_answer& answer, cautions& all) {
    if (!answer.coverage) return;
    const coverage_answer& coverage = *answer.coverage;
    const auto add = [&](const char* key, std::string text, std::vector<double> numbers) {
        all.push_back({"coverage", key, std::move(text), std::move(numbers)});
    };
    if (coverage.failure.has_failed()) add("no_verdict", coverage.failure.explanation, {});
    constexpr double noticeable = 1; // percent
    if (const double open = 100 - coverage.coverage; open >= noticeable)
        add("gaps", fmt::format("{:.1f} % of the area has no cell of these bins.", open), {open});
    if (coverage.selection.read > 0 && coverage.selection.outside > 0) {
        const double outside = 100 * static_cast<double>(coverage.selection.outside) /
                               static_cast<double>(coverage.selection.read);
        if (outside >= noticeable)
            add("outside",
                fmt::format("{} rows ({:.1f} %) lie outside the area.",
                            count_text(coverage.selection.outside), outside),
                {static_cast<double>(coverage.selection.outside), outside});
    }
}

void caution_of_road(const report_answer& answer, cautions& all) {
    if (!answer.road) return;
    const road_answer& road = *answer.road;
    const auto empty = std::count_if(road.stations.begin(), road.stations.end(),
                                     [](const road_station& one) { return one.cells == 0; });
    if (empty > 0)
        all.push_back({"road",
                       "gaps",
                       fmt::format("{} of {} stations have no cell.", empty, road.stations.size()),
                       {static_cast<double>(empty), static_cast<double>(road.stations.size())}});
    if (road.frame.is_bent && !road.frame.follows_bend)
        all.push_back({"road",
                       "bent_strip",
                       "The cells fill little of a straight strip: stations run along its straight "
                       "axis, and cells side by side may belong to different places of the road.",
                       {}});
}

} // namespace

cautions cautions_of(const report_answer& answer) {
    cautions all;
    caution_of_data(answer, all);
    caution_of_coverage(answer, all);
    caution_of_stats(answer, all);
    caution_of_curve(answer, all);
    caution_of_spots(answer, all);
    caution_of_semivariogram(answer, all);
    caution_of_road(answer, all);
    return all;
}

std::vector<std::string> notes_of(const report_answer& answer) {
    std::vector<std::string> notes;
    const auto take = [&](const std::vector<std::string>& of_part) {
        for (const std::string& note : of_part)
            if (std::find(notes.begin(), notes.end(), note) == notes.end()) notes.push_back(note);
    };
    take(answer.reading.notes);
    if (answer.outlines_are_thinned)
        take({"The outlines have more vertices than maps need: some are left out of the drawing. "
              "Areas are computed with all of them."});
    if (answer.coverage) take(answer.coverage->notes);
    if (answer.stats) take(answer.stats->notes);
    if (answer.curve) take(answer.curve->notes);
    if (answer.spots) take(answer.spots->notes);
    if (answer.semivariogram) take(answer.semivariogram->notes);
    return notes;
}

} // namespace qmx_study
