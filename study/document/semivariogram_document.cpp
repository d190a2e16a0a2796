#include "study/document/semivariogram_document.hpp"

#include "study/document/answer_parts.hpp"

namespace qmx_study {

namespace {

// The model and its curve are 32-bit results that the library hands over as 64-bit numbers.
json narrow(double value) {
    return number_or_null(static_cast<float>(value));
}

json bound_json(model_bound bound) {
    switch (bound) {
    case model_bound::lower: return "lower";
    case model_bound::upper: return "upper";
    case model_bound::none: break;
    }
    return nullptr;
}

json settings_json(const semivariogram_answer& answer) {
    const auto of_direction = [&](double value) {
        return answer.is_directional ? json(value) : json(nullptr);
    };
    return {{"lag", answer.lag},
            {"lags", answer.lags},
            {"lags_from", answer.lags_from},
            {"cut_off", answer.cut_off()},
            {"omnidirectional", !answer.is_directional},
            {"azimuth", of_direction(answer.azimuth)},
            {"tolerance", of_direction(answer.tolerance)},
            {"bandwidth", of_direction(answer.bandwidth)},
            {"standardised", answer.is_standardised},
            {"value_scale", answer.value_scale},
            {"distance_scale", answer.distance_scale}};
}

json place_json(range_place place) {
    switch (place) {
    case range_place::on_lower_bound: return "lower";
    case range_place::on_upper_bound: return "upper";
    case range_place::inside:
    case range_place::no_rise: break;
    }
    return nullptr;
}

json best_at(const semivariogram_answer& answer, double distance) {
    const nugget_model* const best = answer.models.best_fit();
    return best && distance > 0 ? number_or_null(best->at(distance)) : json(nullptr);
}

json lags_json(const semivariogram_answer& answer) {
    const semivariogram& result = answer.result;
    json lags = json::array();
    for (std::size_t k = 0; k < result.distances.size(); ++k) {
        const bool is_empty = answer.is_empty(k);
        const bool is_counted = answer.is_counted(k);
        const auto of_pairs = [&](double value) {
            return is_empty ? json(nullptr) : number_or_null(value);
        };
        lags.push_back({{"class", k},
                        {"lag", k == 0 ? json(nullptr) : json(answer.lag_of(k))},
                        {"empty", is_empty},
                        {"pairs", is_counted ? json(answer.pairs[k]) : json(nullptr)},
                        {"pairs_exact",
                         is_counted ? json(answer.pairs[k] <= most_exact_pairs) : json(nullptr)},
                        {"mean_distance", of_pairs(result.distances[k])},
                        {"semivariance", of_pairs(result.semivariances[k])},
                        {"model", number_or_null(answer.model[k])},
                        {"best_model", best_at(answer, result.distances[k])}});
    }
    return lags;
}

void add_model(json& document, const semivariogram_answer& answer) {
    const semivariogram& result = answer.result;
    document["model"] = {{"kind", "exponential"},
                         {"practical_range", narrow(result.practical_range)},
                         {"practical_range_on_bound", bound_json(answer.range_bound)},
                         {"sill", narrow(result.sill)},
                         {"sill_on_bound", bound_json(answer.sill_bound)},
                         {"residual_norm", number_or_null(answer.residual_norm)}};
    document["reading"] = {{"flattens", answer.flattens()},
                           {"range", number_or_null(result.reading[0])},
                           {"sill", number_or_null(result.reading[1])},
                           {"sill_less_nugget", number_or_null(result.reading[2])},
                           {"nugget", number_or_null(result.reading[3])}};
    json& curve = document["curve"];
    curve = {{"distance", json::array()},
             {"semivariance", json::array()},
             {"best_model", json::array()}};
    for (std::size_t i = 0; i < result.curve_x.size(); ++i) {
        curve["distance"].push_back(narrow(result.curve_x[i]));
        curve["semivariance"].push_back(narrow(result.curve_y[i]));
        curve["best_model"].push_back(best_at(answer, result.curve_x[i]));
    }
}

json fit_json(const nugget_model& fit, bool is_best) {
    return {{"weights", key_of(fit.weights)},
            {"model", key_of(fit.shape)},
            {"nugget", fit.nugget},
            {"nugget_on_bound", fit.nugget > 0 ? json(nullptr) : json("lower")},
            {"partial_sill", fit.partial_sill},
            {"sill", fit.sill()},
            {"practical_range", number_or_null(fit.practical_range)},
            {"practical_range_on_bound", place_json(fit.range)},
            {"scale", number_or_null(fit.scale())},
            {"sum_of_squares", fit.sum_of_squares},
            {"residual_norm", fit.residual_norm},
            {"best_of_its_weights", is_best}};
}

json models_json(const variogram_models& models) {
    if (models.fits.empty()) return nullptr;
    const nugget_model* const best = models.best_fit();
    json fits = json::array();
    for (std::size_t i = 0; i < models.fits.size(); ++i)
        fits.push_back(fit_json(models.fits[i], best_of(models.fits, models.fits[i].weights) == i));
    return {
        {"criterion", "least weighted sum of squares"},
        {"weights", key_of(models.weights)},
        {"best", best ? json(key_of(best->shape)) : json(nullptr)},
        {"lags", models.lags},
        {"practical_range_bounds", {{"least", models.bounds.least}, {"most", models.bounds.most}}},
        {"fits", std::move(fits)}};
}

} // namespace

json part_of(const semivariogram_answer& answer) {
    json document;
    document["cells"] = cells_json(answer.cells);
    document["cells"]["last_pass_only"] = answer.last_pass;
    document["cells"]["earlier_records_left_out"] = answer.earlier_passes;
    document["units"] = {{"distance", text_or_null(answer.reading.x.unit)},
                         {"semivariance", text_or_null(answer.semivariance_unit)}};
    document["origin"] = {{"x", answer.origin_x}, {"y", answer.origin_y}};
    document["settings"] = settings_json(answer);
    document["lags"] = lags_json(answer);
    document["model"] = nullptr;
    document["reading"] = nullptr;
    document["curve"] = nullptr;
    if (answer.is_fitted()) add_model(document, answer);
    document["models"] = models_json(answer.models);
    document["failure"] = failure_json(answer.failure);
    document["notes"] = answer.notes;
    return document;
}

json document_of(const semivariogram_answer& answer) {
    return whole_document(new_document("semivariogram"), answer.reading, part_of(answer),
                          answer.output);
}

} // namespace qmx_study
