#include "study/document/grid_document.hpp"

#include "study/document/answer_parts.hpp"

namespace qmx_study {

namespace {

const char* key_of(grid_passes passes) {
    switch (passes) {
    case grid_passes::last: return "last";
    case grid_passes::mean: return "mean";
    case grid_passes::all: return "all";
    }
    return "";
}

} // namespace

json document_of(const grid_answer& answer) {
    const grid_settings& settings = answer.settings;
    json document = new_document("grid");
    add_reading(document, answer.reading);
    document["units"] = {{"length", text_or_null(answer.reading.x.unit)},
                         {"value", text_or_null(answer.reading.value.unit)}};
    document["settings"] = {
        {"cell", settings.cell},
        {"drum_width", settings.drum_width > 0 ? json(settings.drum_width) : json(nullptr)},
        {"gap", settings.gap},
        {"gap_from", answer.gap_is_derived ? "median_step" : "option"},
        {"passes", key_of(settings.passes)},
        {"track", text_or_null(answer.track)}};
    document["median_step"] = answer.median_step;
    document["tracks"] = answer.grid.tracks;
    document["places"] = answer.grid.places;
    document["cells"] = answer.cells;
    document["cells_by_passes"] = json::array();
    for (const auto& [passes, cells] : answer.cells_by_passes)
        document["cells_by_passes"].push_back({{"passes", passes}, {"cells", cells}});
    document["rows"] = answer.grid.entries.size();
    document["notes"] = answer.notes;
    document["output"] = text_or_null(answer.output);
    return document;
}

} // namespace qmx_study
