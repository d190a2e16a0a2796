#include "text/semivariogram_text.hpp"

#include <fmt/format.h>

#include "text/answer_parts.hpp"
#include "text/text_chart.hpp"
#include "text/text_table.hpp"

namespace qmx_terminal {

using namespace qmx_study;

namespace {

std::string length_text(const semivariogram_answer& answer, double length) {
    return with_unit(number_text(length), answer.reading.x.unit);
}

std::string cells_text(const semivariogram_answer& answer) {
    const std::string cells = count_text(answer.cells.cells) + " cells";
    if (answer.last_pass)
        return fmt::format("{}, the last pass of each; {} earlier records left out", cells,
                           count_text(answer.earlier_passes));
    if (answer.cells.shared_cells == 0) return cells + ", one record in each";
    return fmt::format("{}, {} of them with several records", cells,
                       count_text(answer.cells.shared_cells));
}

std::string direction_text(const semivariogram_answer& answer) {
    if (!answer.is_directional) return "all";
    std::string text = fmt::format("azimuth {}° from north, within {}° to either side",
                                   number_text(answer.azimuth), number_text(answer.tolerance));
    if (answer.bandwidth < answer.cut_off())
        text += fmt::format(" and {} from the axis", length_text(answer, answer.bandwidth));
    return text;
}

std::string pairs_text(const semivariogram_answer& answer, std::size_t lag_class) {
    if (answer.pairs.empty()) return "";
    const std::int64_t pairs = answer.pairs[lag_class];
    if (pairs == unknown_pairs) return "?";
    return (pairs > most_exact_pairs ? "≈ " : "") + count_text(pairs);
}

std::string lags_table(const semivariogram_answer& answer) {
    const std::string& unit = answer.reading.x.unit;
    text_table table("rrrrr");
    table.add({"lag" + unit_suffix(unit), answer.pairs.empty() ? "" : "pairs",
               "mean distance" + unit_suffix(unit),
               "semivariance" + unit_suffix(answer.semivariance_unit),
               answer.is_fitted() ? "model" : ""});
    table.add_rule();
    const semivariogram& result = answer.result;
    const std::size_t classes = result.distances.size();
    const auto lag_text = [&](std::size_t k) {
        return k == 0 ? "same place" : number_text(answer.lag_of(k));
    };
    for (std::size_t k = 0; k < classes; ++k) {
        std::size_t last = k; // of a run of empty lags
        while (answer.is_empty(k) && last + 1 < classes && answer.is_empty(last + 1)) ++last;
        if (last >= k + 2) {
            table.add({lag_text(k) + " … " + lag_text(last), pairs_text(answer, k), "empty"});
            k = last;
        } else if (answer.is_empty(k)) {
            table.add({lag_text(k), pairs_text(answer, k), "empty"});
        } else {
            table.add({lag_text(k), pairs_text(answer, k),
                       fmt::format("{:.3f}", result.distances[k]),
                       number_text(result.semivariances[k]),
                       answer.is_fitted() ? number_text(answer.model[k]) : ""});
        }
    }
    return table.text();
}

const char* bound_text(model_bound bound) {
    switch (bound) {
    case model_bound::lower: return "ON ITS LOWER BOUND: no result";
    case model_bound::upper: return "ON ITS UPPER BOUND: no result";
    case model_bound::none: break;
    }
    return "";
}

std::string model_text(const semivariogram_answer& answer) {
    const semivariogram& result = answer.result;
    const std::string& length = answer.reading.x.unit;
    const std::string squared = answer.semivariance_unit;
    const auto value = [](float number) { return number_text(static_cast<double>(number)); };
    std::string text =
        "\nThe library's model, without a nugget: sill × (1 − exp(−3 × distance / practical "
        "range))\n";
    text_table model("lrll");
    model.add({"Practical range", number_text(result.practical_range), length,
               bound_text(answer.range_bound)});
    model.add({"Sill", number_text(result.sill), squared, bound_text(answer.sill_bound)});
    model.add({"Residual norm", number_text(answer.residual_norm), squared, "over the lags"});
    text += model.text();
    text += answer.flattens()
                ? "Read off the model's curve, where it flattens (5° in the unit square)\n"
                : "Read off the end of the model's curve, which does not flatten before\n";
    text_table reading("lrl");
    reading.add({"Range", value(result.reading[0]), length});
    reading.add({"Sill", value(result.reading[1]), squared});
    reading.add({"Sill less nugget", value(result.reading[2]), squared});
    reading.add({"Nugget", value(result.reading[3]), squared});
    return text + reading.text();
}

std::string remarks_on(const nugget_model& fit, const variogram_models& models, bool is_best) {
    std::vector<std::string> remarks;
    if (is_best) remarks.emplace_back("best");
    switch (fit.range) {
    case range_place::no_rise: remarks.emplace_back("NO RISE: a level, no range"); break;
    case range_place::on_lower_bound:
        remarks.emplace_back("RANGE ON ITS LOWER BOUND: no result");
        break;
    case range_place::on_upper_bound:
        remarks.emplace_back("RANGE ON ITS UPPER BOUND: no result");
        break;
    case range_place::inside:
        if (fit.practical_range > models.bounds.most / 10)
            remarks.emplace_back("range beyond the lags");
    }
    if (!(fit.nugget > 0)) remarks.emplace_back("nugget on its bound");
    std::string text;
    for (const std::string& remark : remarks) text += (text.empty() ? "" : ", ") + remark;
    return text;
}

// The library's model first, then those with a nugget: lags of equal weight, and the weights that name
// the best one.
std::string models_text(const semivariogram_answer& answer) {
    const variogram_models& models = answer.models;
    if (models.fits.empty()) return {};
    const std::string& squared = answer.semivariance_unit;
    text_table table("llrrrrl");
    table.add({"weights", "model", "nugget", "sill" + unit_suffix(squared),
               "practical range" + unit_suffix(answer.reading.x.unit), "residual norm"});
    table.add_rule();
    if (answer.is_fitted())
        table.add({"equal", "the library's", "none", number_text(answer.result.sill),
                   number_text(answer.result.practical_range), number_text(answer.residual_norm),
                   bound_text(answer.range_bound)});
    for (std::size_t i = 0; i < models.fits.size(); ++i) {
        const nugget_model& fit = models.fits[i];
        const bool is_shown = fit.weights == lag_weights::equal || fit.weights == models.weights ||
                              fit.weights == lag_weights::pairs;
        if (is_shown)
            table.add({name_of(fit.weights), name_of(fit.shape), number_text(fit.nugget),
                       number_text(fit.sill()), number_text(fit.practical_range),
                       number_text(fit.residual_norm), remarks_on(fit, models, models.best == i)});
    }
    std::string text = "\nModels with a nugget, fitted to the same lags\n" + table.text();
    if (const nugget_model* const best = models.best_fit())
        text += fmt::format(
            "  Best: {}, by the least sum of squares where lags weigh {} (three parameters each).\n"
            "  At the practical range 95 % of the rise from nugget to sill is reached (spherical: "
            "all).\n",
            name_of(best->shape),
            best->weights == lag_weights::equal ? "the same"
                                                : std::string("by ") + name_of(best->weights));
    return text;
}

std::string chart_of(const semivariogram_answer& answer) {
    plotted lags, curve;
    for (std::size_t k = 1; k < answer.result.distances.size(); ++k) {
        if (answer.is_empty(k)) continue;
        lags.x.push_back(answer.result.distances[k]);
        lags.y.push_back(answer.result.semivariances[k]);
    }
    if (lags.x.empty()) return {};
    if (answer.is_fitted()) {
        curve.x.assign(answer.result.curve_x.begin(), answer.result.curve_x.end());
        curve.y.assign(answer.result.curve_y.begin(), answer.result.curve_y.end());
    } else { // the axes start at 0 with or without a model
        curve.x.push_back(0);
        curve.y.push_back(0);
    }
    return "\n" + chart_text(lags, curve, "distance" + unit_suffix(answer.reading.x.unit),
                             "semivariance" + unit_suffix(answer.semivariance_unit));
}

} // namespace

std::string semivariogram_text(const semivariogram_answer& answer) {
    std::string text = reading_text(answer.reading);
    text_table head("ll", 0);
    head.add({"Cells   ", cells_text(answer)});
    head.add({"Origin", fmt::format("{:.0f}, {:.0f} subtracted: 32-bit positions then step by at "
                                    "most {}",
                                    answer.origin_x, answer.origin_y,
                                    with_unit(fmt::format("{:.1g}", answer.position_step),
                                              answer.reading.x.unit))});
    head.add({"Lags",
              fmt::format("{} of {}, cut-off {}: {}", answer.lags, length_text(answer, answer.lag),
                          length_text(answer, answer.cut_off()), answer.lags_from)});
    head.add({"Direction", direction_text(answer)});
    text += head.text();
    text += fmt::format("\nSemivariogram of {}{}\n", named_with_unit(answer.reading.value),
                        answer.is_standardised ? ", divided by the variance of the values" : "");
    text += lags_table(answer);
    if (answer.is_fitted()) text += model_text(answer);
    text += models_text(answer);
    text += chart_of(answer);
    if (!answer.output.empty())
        text += fmt::format("\n{} written to {}\n", answer.is_fitted() ? "Lags and curve" : "Lags",
                            answer.output);
    return text + notes_text(answer.notes);
}

} // namespace qmx_terminal
