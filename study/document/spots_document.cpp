#include "study/document/spots_document.hpp"

#include "study/document/answer_parts.hpp"

namespace qmx_study {

namespace {

const char* key_of(spot_state state) {
    switch (state) {
    case spot_state::in_line: return "in_line";
    case spot_state::too_few: return "too_few_ic_values";
    case spot_state::no_line: return "no_line";
    case spot_state::none_in_circle: return "none_in_circle";
    case spot_state::none_of_pass: return "none_of_pass";
    }
    return "";
}

json spot_json(const spot_row& spot, bool is_delimited) {
    return {{"test", spot.name},
            {is_delimited ? "line" : "record", spot.line},
            {"x", spot.test.d_x},
            {"y", spot.test.d_y},
            {"pass", spot.test.i_passno < 0 ? json(nullptr) : json(spot.test.i_passno)},
            {"value", spot.test.d_val},
            {"ic_values", spot.count},
            {"ic_mean", number_or_null(spot.mean)},
            {"ic_cv_percent", number_or_null(spot.variation)},
            {"predicted_ic_mean", number_or_null(spot.predicted)},
            {"ic_values_of_other_passes", spot.of_other_passes},
            {"nearest_ic_data", number_or_null(spot.nearest)},
            {"state", key_of(spot.state)},
            {"remark", text_or_null(spot.remark)}};
}

json line_json(const spots_answer& answer) {
    const spot_line& line = *answer.line;
    const line_statistics& statistics = line.statistics;
    return {{"formula", "ic_mean = intercept + slope * value"},
            {"intercept", number_or_null(line.intercept)},
            {"slope", number_or_null(line.slope)},
            {"n", line.pairs},
            {"r_squared_percent", number_or_null(line.r_squared)},
            {"r", number_or_null(line.r)},
            {"standard_error", number_or_null(statistics.standard_error)},
            {"intercept_standard_error", number_or_null(statistics.intercept_standard_error)},
            {"slope_standard_error", number_or_null(statistics.slope_standard_error)},
            {"t", number_or_null(statistics.t)},
            {"p", number_or_null(statistics.p)},
            {"supported", answer.is_supported},
            {"least_r", answer.least_correlation},
            {"least_n", answer.least_pairs}};
}

} // namespace

json part_of(const spots_answer& answer) {
    json document;
    json tests;
    add_reading(tests, answer.test_reading);
    document["test_input"] = tests["input"];
    document["test_columns"] = tests["columns"];
    const json ic_unit = text_or_null(answer.reading.value.unit);
    document["units"] = {{"radius", text_or_null(answer.reading.x.unit)},
                         {"nearest_ic_data", text_or_null(answer.reading.x.unit)},
                         {"value", text_or_null(answer.test_reading.value.unit)},
                         {"ic_mean", ic_unit},
                         {"ic_cv_percent", "%"},
                         {"predicted_ic_mean", ic_unit},
                         {"standard_error", ic_unit},
                         {"r_squared_percent", "%"}};
    document["radius"] = answer.radius;
    document["least_ic_values"] = answer.least_values;
    json spots = json::array();
    for (const spot_row& spot : answer.spots)
        spots.push_back(spot_json(spot, answer.test_reading.is_delimited));
    document["tests"] = spots;
    document["regression"] = answer.line ? line_json(answer) : json(nullptr);
    document["failure"] = failure_json(answer.failure);
    document["notes"] = answer.notes;
    return document;
}

json document_of(const spots_answer& answer) {
    return whole_document(new_document("spots"), answer.reading, part_of(answer), answer.output);
}

} // namespace qmx_study
