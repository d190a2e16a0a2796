#include "study/document/select_document.hpp"

#include "study/document/answer_parts.hpp"

namespace qmx_study {

namespace {

json extents_json(const extents& bounds, bool any) {
    if (!any) return nullptr;
    return {{"west", bounds.west},
            {"east", bounds.east},
            {"south", bounds.south},
            {"north", bounds.north}};
}

json shape_json(const select_answer& answer) {
    if (answer.circle)
        return {{"kind", "circle"},
                {"x", answer.circle->x},
                {"y", answer.circle->y},
                {"radius", answer.circle->radius}};
    return {{"kind", "polygons"},
            {"file", answer.areas.file},
            {"polygons", answer.areas.polygons},
            {"holes", answer.areas.holes},
            {"vertices", answer.areas.vertices}};
}

} // namespace

json document_of(const select_answer& answer) {
    json document = new_document("select");
    add_reading(document, answer.reading);
    document["shape"] = shape_json(answer);
    document["points"] = answer.reading.rows_used;
    document["selected"] = answer.records.size();
    document["not_selected"] = answer.not_selected();
    document["units"] = {{"extents", text_or_null(answer.reading.x.unit)}};
    document["extents"] = extents_json(answer.all, answer.reading.rows_used > 0);
    document["selected_extents"] = extents_json(answer.selected, !answer.records.empty());
    document[answer.reading.is_delimited ? "lines" : "records"] = answer.lines;
    document["output"] = text_or_null(answer.output);
    return document;
}

} // namespace qmx_study
