#include "study/document/coverage_document.hpp"

#include "study/document/answer_parts.hpp"

namespace qmx_study {

namespace {

json areas_json(const areas_account& areas) {
    if (areas.polygons == 0) return nullptr;
    return {{"file", areas.file}, {"polygons", areas.polygons}, {"holes", areas.holes}};
}

// null where the unit of the positions is not known.
json square_metres(const coverage_answer& answer, double area) {
    if (!(answer.square_metres > 0)) return nullptr;
    return number_or_null(static_cast<float>(area * answer.square_metres));
}

} // namespace

json part_of(const coverage_answer& answer) {
    json document;
    document["areas"] = {{"included", areas_json(answer.included)},
                         {"excluded", areas_json(answer.excluded)}};
    document["selection"] = {{"inside", answer.selection.inside()},
                             {"outside", answer.selection.outside},
                             {"in_excluded_areas", answer.selection.excluded}};
    document["cells"] = cells_json(answer.cells);
    document["cells"]["last_pass_only"] = !answer.all_records;
    document["cells"]["earlier_records_left_out"] = answer.earlier_passes;
    document["mesh"] = {
        {"x", answer.mesh.x},
        {"y", answer.mesh.y},
        {"how", answer.mesh_is_derived ? "spacing_of_positions" : "option"},
        {"scatter_of_positions", answer.scatter ? number_or_null(*answer.scatter) : json(nullptr)}};
    document["units"] = {{"length", text_or_null(answer.reading.x.unit)},
                         {"area", text_or_null(answer.area_unit)}};
    document["plan_area"] = number_or_null(answer.plan_area);
    document["plan_area_m2"] = square_metres(answer, static_cast<double>(answer.plan_area));
    json bins = json::array();
    for (std::size_t i = 0; i < answer.bins.size(); ++i) {
        const bool is_open = answer.bins[i].i_pass_upper == open_end;
        bins.push_back({{"passes", bin_name(answer.bins[i])},
                        {"lower", answer.bins[i].i_pass_lower},
                        {"upper", is_open ? json(nullptr) : json(answer.bins[i].i_pass_upper)},
                        {"points", answer.counts.in_bin[i]},
                        {"area", number_or_null(answer.results[i].x_compacted_area)},
                        {"area_m2", square_metres(answer, static_cast<double>(
                                                              answer.results[i].x_compacted_area))},
                        {"coverage_percent", number_or_null(answer.results[i].x_coverage)}});
    }
    document["bins"] = bins;
    document["all_bins"] = {
        {"points", answer.counts.total_in_bins()},
        {"area", number_or_null(static_cast<float>(answer.covered_area))},
        {"coverage_percent", number_or_null(static_cast<float>(answer.coverage))}};
    document["not_covered"] = {
        {"area", number_or_null(static_cast<float>(answer.not_covered))},
        {"area_m2", square_metres(answer, answer.not_covered)},
        {"percent", number_or_null(static_cast<float>(100 - answer.coverage))}};
    document["points_in_no_bin"] = answer.counts.total_outside();
    document["target"] = nullptr;
    if (answer.target.passes > 0)
        document["target"] = {
            {"passes", answer.target.passes},
            {"required_percent", number_or_null(answer.target.required)},
            {"achieved_percent", number_or_null(answer.target.achieved)},
            {"met", answer.has_verdict() ? json(answer.target.is_met()) : json(nullptr)}};
    document["failure"] = failure_json(answer.failure);
    document["notes"] = answer.notes;
    return document;
}

json document_of(const coverage_answer& answer) {
    return whole_document(new_document("coverage"), answer.reading, part_of(answer), answer.output);
}

} // namespace qmx_study
