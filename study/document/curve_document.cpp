#include "study/document/curve_document.hpp"

#include "study/document/answer_parts.hpp"

namespace qmx_study {

namespace {

const char* key_of(left_out reason) {
    switch (reason) {
    case left_out::too_few: return "too_few_points";
    case left_out::gap: return "no_points";
    case left_out::after_the_end: return "after_the_end";
    case left_out::no_curve: return "no_curve";
    case left_out::no: break;
    }
    return "";
}

} // namespace

json part_of(const curve_answer& answer) {
    json document;
    const json unit = text_or_null(answer.reading.value.unit);
    document["units"] = {{"mean", unit},
                         {"standard_deviation", unit},
                         {"fitted", unit},
                         {"growth_percent", "%"},
                         {"r_squared_percent", "%"}};
    document["cells"] = answer.cells.cells == 0 ? json(nullptr) : cells_json(answer.cells);
    json passes = json::array();
    for (const pass_row& row : answer.passes)
        passes.push_back({{"pass", row.pass},
                          {"points", row.points},
                          {"mean", number_or_null(row.mean)},
                          {"standard_deviation", number_or_null(row.deviation)},
                          {"growth_percent", number_or_null(row.growth)},
                          {"fitted", number_or_null(row.fitted)},
                          {"in_curve", row.reason == left_out::no},
                          {"left_out_for", text_or_null(key_of(row.reason))}});
    document["passes"] = passes;
    document["passes_in_curve"] = answer.curve.passes;
    document["growth"] = {{"limit_percent", answer.growth_limit},
                          {"pass", answer.grown_out > 0 ? json(answer.grown_out) : json(nullptr)}};
    document["curve"] = nullptr;
    if (answer.has_curve()) {
        json& curve = document["curve"];
        curve["degree"] = answer.curve.fit.i_degree;
        curve["coefficients"] = json::array();
        for (int k = 0; k <= answer.curve.fit.i_degree; ++k)
            curve["coefficients"].push_back(number_or_null(answer.curve.fit.x_coef[k]));
        curve["r_squared_percent"] = number_or_null(answer.curve.fit.x_rsq);
        curve["pass"] = answer.curve.x;
        curve["value"] = json::array();
        for (const double value : answer.curve.y) curve["value"].push_back(number_or_null(value));
    }
    document["failure"] = failure_json(answer.failure);
    document["notes"] = answer.notes;
    return document;
}

json document_of(const curve_answer& answer) {
    return whole_document(new_document("curve"), answer.reading, part_of(answer), answer.output);
}

} // namespace qmx_study
