#include "study/analyses/semivariogram_notes.hpp"

#include <algorithm>
#include <cmath>

#include <fmt/format.h>

#include "study/base/value_text.hpp"

namespace qmx_study {

namespace {

void note_cells(semivariogram_answer& answer) {
    if (answer.cells.shared_cells > 0 && !answer.last_pass)
        answer.notes.push_back(
            "Where points share a place, the search may drop the pairs that follow in the order of "
            "the rows: the numbers depend on that order.");
}

void note_positions(semivariogram_answer& answer) {
    const std::string& unit = answer.reading.x.unit;
    if (answer.layout.has_stray_points())
        answer.notes.push_back(
            "A few points lie far from all others; leave them out with --where if they are errors "
            "(qmx-ic columns shows the smallest and largest coordinates).");
    if (answer.position_step > answer.layout.spacing / 20)
        answer.notes.push_back(fmt::format(
            "The points reach so far that 32-bit positions step by {:.2g}{}, against a spacing of "
            "{:.3g}: distances are rough. Divide the file.",
            answer.position_step, unit.empty() ? "" : " " + unit, answer.layout.spacing));
}

void note_lags(semivariogram_answer& answer) {
    const semivariogram& result = answer.result;
    std::vector<std::size_t> filled;
    for (std::size_t k = 1; k < result.distances.size(); ++k)
        if (!answer.is_empty(k)) filled.push_back(k);
    const std::size_t lags = result.distances.size() - 1;
    const std::size_t empty = lags - filled.size();
    if (empty > 0)
        answer.notes.push_back(
            fmt::format("{} of {} lags {} empty: there is no pair in {}. Empty lags "
                        "weigh nothing in the fits.",
                        empty, lags, empty == 1 ? "is" : "are", empty == 1 ? "it" : "them"));
    constexpr std::int64_t enough_pairs = 30;
    const auto thin = std::count_if(filled.begin(), filled.end(), [&](std::size_t k) {
        return answer.is_counted(k) && answer.pairs[k] < enough_pairs;
    });
    if (thin > 0)
        answer.notes.push_back(fmt::format("{} of {} lags {} fewer than {} pairs: {} uncertain. "
                                           "All lags weigh the same in the library's fit.",
                                           thin, lags, thin == 1 ? "has" : "have", enough_pairs,
                                           thin == 1 ? "it is" : "they are"));
    if (filled.size() > 1 &&
        result.semivariances[filled[0]] > 1.5 * result.semivariances[filled[1]])
        answer.notes.push_back(
            "The nearest pairs differ more than those farther apart: records made while standing "
            "or turning do that. Leave them out with --where.");
    const auto is_unknown = [](std::int64_t pairs) { return pairs == unknown_pairs; };
    if (answer.pairs.empty()) {
        answer.notes.push_back("The pairs were not counted, which takes as long again; "
                               "--count-pairs asks for it.");
    } else if (std::any_of(answer.pairs.begin(), answer.pairs.end(), is_unknown)) {
        answer.notes.push_back("Pairs marked \"?\" could not be counted: the search is too narrow, "
                               "or its lag too small, for 32-bit positions.");
    } else {
        answer.notes.push_back(
            "\"Same place\" counts the pairs of points that coincide, and each point with itself.");
    }
}

// The bounds of the fit, in the units of the results.
double bound_of_range(const semivariogram_answer& answer) {
    const semivariogram& result = answer.result;
    const double greatest =
        *std::max_element(result.semivariances.begin(), result.semivariances.end());
    return greatest * answer.variance * answer.value_scale * answer.value_scale /
           answer.distance_scale;
}

void note_scales(semivariogram_answer& answer) {
    if (answer.scale_is_named || (answer.value_scale == 1 && answer.distance_scale == 1)) return;
    answer.notes.push_back(fmt::format(
        "The fit's bounds are mere numbers, whatever the unit. So that they do not hold the model, "
        "the library got values × {} and distances × {}; all results are given back in their own "
        "units.",
        answer.value_scale, answer.distance_scale));
}

void note_model(semivariogram_answer& answer) {
    const semivariogram& result = answer.result;
    note_scales(answer);
    if (answer.range_bound == model_bound::upper) {
        answer.notes.push_back(fmt::format(
            "The practical range stands on the fit's upper bound, {}, far beyond the cut-off or "
            "held there by --value-scale: it is no result. These lags do not show a range.",
            number_text(bound_of_range(answer))));
    } else if (answer.range_bound == model_bound::lower) {
        answer.notes.push_back(fmt::format(
            "The practical range stands on the fit's lower bound, {}: the true one may be shorter. "
            "The lags show no gradual rise.",
            number_text(1 / answer.distance_scale)));
    } else if (result.practical_range > answer.cut_off()) {
        answer.notes.push_back(
            "The practical range is beyond the cut-off: it rests on the shape of "
            "the model, not on pairs so far apart.");
    }
    if (answer.sill_bound == model_bound::upper)
        answer.notes.push_back("The sill stands on the fit's upper bound, the greatest "
                               "semivariance.");
    else if (answer.sill_bound == model_bound::lower)
        answer.notes.push_back(fmt::format(
            "The sill stands on the fit's lower bound, {}: the true one may be smaller. "
            "--value-scale moves the bound.",
            number_text(0.05 / (answer.value_scale * answer.value_scale * answer.variance))));
    answer.notes.push_back(
        "The library's model has no nugget: it passes through 0 at distance 0, where its curve "
        "begins, so the nugget read off is 0.");
}

void note_models(semivariogram_answer& answer) {
    if (!answer.has_models) return;
    const variogram_models& models = answer.models;
    const nugget_model* const best = models.best_fit();
    if (models.lags < least_lags_of_models) {
        answer.notes.push_back(
            fmt::format("Models with a nugget need {} lags with pairs; there {} {}.",
                        least_lags_of_models, models.lags == 1 ? "is" : "are", models.lags));
    } else if (best && best->range == range_place::no_rise) {
        answer.notes.push_back("The best model is a level: the semivariance does not rise with "
                               "distance, so there is no range.");
    } else if (best && best->range == range_place::on_upper_bound) {
        answer.notes.push_back(fmt::format(
            "The practical range of the best model stands on its bound, ten times the longest "
            "mean distance, {}: the semivariance still rises there, and these lags show neither "
            "range nor sill.",
            number_text(models.bounds.most / 10)));
    } else if (best && best->range == range_place::on_lower_bound) {
        answer.notes.push_back(fmt::format(
            "The practical range of the best model stands on its bound, the shortest mean "
            "distance, {}: the true one may be shorter, and then nugget and sill cannot be told "
            "apart. A shorter --lag may show it.",
            number_text(models.bounds.least)));
    } else if (best && best->practical_range > models.bounds.most / 10) {
        answer.notes.push_back("The practical range of the best model is beyond the lags: range "
                               "and sill rest on the shape of the model.");
    }
    if (!models.fits.empty() && !answer.are_all_counted())
        answer.notes.push_back("Not all pairs are counted, so the models were fitted with lags of "
                               "equal weight alone.");
}

} // namespace

void add_notes(semivariogram_answer& answer) {
    note_cells(answer);
    note_positions(answer);
    note_lags(answer);
    if (answer.is_fitted()) note_model(answer);
    note_models(answer);
}

} // namespace qmx_study
