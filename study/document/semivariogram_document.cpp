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
                        {"model", number_or_null(answer.model[k])}});
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
    curve = {{"distance", json::array()}, {"semivariance", json::array()}};
    for (std::size_t i = 0; i < result.curve_x.size(); ++i) {
        curve["distance"].push_back(narrow(result.curve_x[i]));
        curve["semivariance"].push_back(narrow(result.curve_y[i]));
    }
}

} // namespace

json document_of(const semivariogram_answer& answer) {
    json document = new_document("semivariogram");
    add_reading(document, answer.reading);
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
    document["failure"] = failure_json(answer.failure);
    document["notes"] = answer.notes;
    document["output"] = text_or_null(answer.output);
    return document;
}

} // namespace qmx_study
