#include "study/analyses/semivariogram_notes.hpp"

#include <algorithm>
#include <cmath>

#include <fmt/format.h>

#include "study/base/value_text.hpp"

namespace qmx_study {

namespace {

void note_cells(semivariogram_report& report, bool all_records_meant) {
    if (report.cells.is_all_passes() && !report.last_pass && !all_records_meant)
        report.notes.push_back(fmt::format(
            "{} of {} cells hold several records (up to {}): these are data of all passes. "
            "The semivariogram of a finished layer is that of the last pass in each cell: "
            "--last-pass takes it, --all-records confirms that all records are meant.",
            report.cells.shared_cells, report.cells.cells, report.cells.most_records));
    if (report.cells.shared_cells > 0 && !report.last_pass)
        report.notes.push_back(
            "Where points share a place, the search may drop the pairs that follow in the order of "
            "the rows: the numbers depend on that order.");
}

void note_positions(semivariogram_report& report) {
    const std::string& unit = report.points.x.unit;
    if (report.layout.has_stray_points())
        report.notes.push_back(
            "A few points lie far from all others; leave them out with --where if they are errors "
            "(qmx-ic columns shows the smallest and largest coordinates).");
    if (report.position_step > report.layout.spacing / 20)
        report.notes.push_back(fmt::format(
            "The points reach so far that 32-bit positions step by {:.2g}{}, against a spacing of "
            "{:.3g}: distances are rough. Divide the file.",
            report.position_step, unit.empty() ? "" : " " + unit, report.layout.spacing));
}

void note_lags(semivariogram_report& report) {
    const semivariogram& result = report.result;
    std::vector<std::size_t> filled;
    for (std::size_t k = 1; k < result.distances.size(); ++k)
        if (!report.is_empty(k)) filled.push_back(k);
    const std::size_t lags = result.distances.size() - 1;
    const std::size_t empty = lags - filled.size();
    if (empty > 0)
        report.notes.push_back(
            fmt::format("{} of {} lags {} empty: there is no pair in {}. Empty lags "
                        "weigh nothing in the fit.",
                        empty, lags, empty == 1 ? "is" : "are", empty == 1 ? "it" : "them"));
    constexpr std::int64_t enough_pairs = 30;
    const auto thin = std::count_if(filled.begin(), filled.end(), [&](std::size_t k) {
        return !report.pairs.empty() && report.pairs[k] != unknown_pairs &&
               report.pairs[k] < enough_pairs;
    });
    if (thin > 0)
        report.notes.push_back(fmt::format("{} of {} lags {} fewer than {} pairs: {} uncertain. "
                                           "All lags weigh the same in the fit.",
                                           thin, lags, thin == 1 ? "has" : "have", enough_pairs,
                                           thin == 1 ? "it is" : "they are"));
    if (filled.size() > 1 &&
        result.semivariances[filled[0]] > 1.5 * result.semivariances[filled[1]])
        report.notes.push_back(
            "The nearest pairs differ more than those farther apart: records made while standing "
            "or turning do that. Leave them out with --where.");
    const auto is_unknown = [](std::int64_t pairs) { return pairs == unknown_pairs; };
    if (report.pairs.empty()) {
        report.notes.push_back("The pairs were not counted, which takes as long again; "
                               "--count-pairs asks for it.");
    } else if (std::any_of(report.pairs.begin(), report.pairs.end(), is_unknown)) {
        report.notes.push_back("Pairs marked \"?\" could not be counted: the search is too narrow, "
                               "or its lag too small, for 32-bit positions.");
    } else {
        report.notes.push_back(
            "\"Same place\" counts the pairs of points that coincide, and each point with itself.");
    }
}

void note_range_on_bound(semivariogram_report& report) {
    const semivariogram& result = report.result;
    const double greatest =
        *std::max_element(result.semivariances.begin(), result.semivariances.end());
    const double bound = greatest * report.value_scale * report.value_scale;
    std::string note = fmt::format(
        "The practical range is not a free result: the fit lets its number grow no larger than the "
        "number of the greatest semivariance, {}, whatever the units. ",
        number_text(bound));
    if (report.is_standardised) {
        note += "Standardised semivariances are near 1, so it is always so with them; leave out "
                "--standardise to learn the range.";
    } else if (greatest > 0) {
        const double scale =
            std::exp2(std::ceil(std::log2(std::sqrt(2 * report.cut_off() / greatest))));
        if (scale > report.value_scale)
            note += fmt::format("--value-scale {} frees it: values are multiplied by that for the "
                                "analysis, and all results are given back in their own unit.",
                                scale);
        else
            note += "It is far beyond the cut-off: these lags do not show a range.";
    }
    report.notes.push_back(note);
}

void note_model(semivariogram_report& report) {
    const semivariogram& result = report.result;
    if (report.range_bound == model_bound::upper) {
        note_range_on_bound(report);
    } else if (report.range_bound == model_bound::lower) {
        report.notes.push_back(
            "The practical range stands on the fit's lower bound, 1 whatever the unit: the true "
            "one "
            "may be shorter. The lags show no gradual rise, or the unit of the positions is too "
            "large.");
    } else if (result.practical_range > report.cut_off()) {
        report.notes.push_back(
            "The practical range is beyond the cut-off: it rests on the shape of "
            "the model, not on pairs so far apart.");
    }
    if (report.sill_bound == model_bound::upper)
        report.notes.push_back("The sill stands on the fit's upper bound, the greatest "
                               "semivariance.");
    else if (report.sill_bound == model_bound::lower)
        report.notes.push_back(fmt::format(
            "The sill stands on the fit's lower bound, {}: the true one may be smaller. "
            "--value-scale moves the bound.",
            number_text(0.05 / (report.value_scale * report.value_scale))));
    report.notes.push_back(
        "The model has no nugget: it passes through 0 at distance 0, where its curve begins, so "
        "the "
        "nugget read off is 0. The semivariance of the first lags shows what there is.");
}

} // namespace

void add_notes(semivariogram_report& report, bool all_records_meant) {
    note_cells(report, all_records_meant);
    note_positions(report);
    note_lags(report);
    if (report.is_fitted()) note_model(report);
}

} // namespace qmx_study
