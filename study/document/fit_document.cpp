#include "study/document/fit_document.hpp"

#include "study/document/answer_parts.hpp"

namespace qmx_study {

json document_of(const fit_answer& answer) {
    json document = new_document("fit");
    add_reading(document, answer.reading);
    document["units"] = {{"x", text_or_null(answer.reading.x.unit)},
                         {"y", text_or_null(answer.reading.y.unit)}};
    document["degree"] = answer.degree;
    document["points"] = answer.data_x.size();
    document["extents"] = {{"smallest_x", answer.smallest_x},
                           {"largest_x", answer.largest_x},
                           {"smallest_y", answer.smallest_y},
                           {"largest_y", answer.largest_y}};
    document["centre"] = answer.is_centred ? json(answer.centre) : json(nullptr);
    document["digits_lost_estimate"] = number_or_null(answer.digits_lost);
    document["centring_moves"] = number_or_null(answer.centring_moves);
    document["terms"] = json::array();
    for (const fit_term& term : answer.terms)
        document["terms"].push_back({{"power", document["terms"].size()},
                                     {"coefficient", number_or_null(term.coefficient)},
                                     {"standard_error", number_or_null(term.standard_error)}});
    const bool has_terms = !answer.terms.empty();
    document["r_squared_percent"] = has_terms ? number_or_null(answer.r_squared) : json(nullptr);
    document["standard_error"] = has_terms ? number_or_null(answer.standard_error) : json(nullptr);
    document["curve"] = nullptr;
    if (answer.has_curve()) {
        document["curve"] = {{"x", answer.x}, {"y", json::array()}};
        for (const double y : answer.y) document["curve"]["y"].push_back(number_or_null(y));
    }
    document["failure"] = failure_json(answer.failure);
    document["notes"] = answer.notes;
    document["output"] = text_or_null(answer.output);
    return document;
}

} // namespace qmx_study
