#include "study/document/report_document.hpp"

#include <utility>

#include "study/base/time_text.hpp"
#include "study/document/answer_parts.hpp"
#include "study/document/coverage_document.hpp"
#include "study/document/curve_document.hpp"
#include "study/document/semivariogram_document.hpp"
#include "study/document/spots_document.hpp"
#include "study/document/stats_document.hpp"

namespace qmx_study {

namespace {

template <class Value> json value_or_null(const std::optional<Value>& value) {
    return value ? json(*value) : json(nullptr);
}

json texts_json(const report_texts& texts) {
    return {{"title", texts.title},
            {"project", texts.project},
            {"lot", texts.lot},
            {"contractor", texts.contractor},
            {"inspector", texts.inspector},
            {"remarks", texts.remarks}};
}

json inputs_json(const report_answer& answer) {
    json inputs = json::array();
    for (const marked_input& input : answer.inputs)
        inputs.push_back({{"role", input.role},
                          {"file", input.file},
                          {"bytes", input.mark.bytes},
                          {"sha256", input.mark.sha256}});
    return inputs;
}

json threshold_json(const threshold& one) {
    return {{"key", one.key},
            {"value", one.value},
            {"rule", text_or_null(one.rule)},
            {"from", one.from}};
}

json filters_json(const report_answer& answer) {
    json filters = json::array();
    for (const filtered_rows& filter : answer.reading.filters)
        filters.push_back({{"what", filter.what},
                           {"text", filter.text},
                           {"rows", filter.rows},
                           {"lacking", filter.lacking}});
    return filters;
}

json settings_json(const report_answer& answer) {
    const job_settings& settings = answer.settings;
    json thresholds = json::array();
    for (const threshold& one : settings.thresholds) thresholds.push_back(threshold_json(one));
    json limit = nullptr;
    if (answer.limit_of_cells)
        limit = {{"value", answer.limit_of_cells->value},
                 {"side", answer.limit_of_cells->below ? "at_or_below" : "at_or_above"},
                 {"from", answer.limit_from}};
    return {{"job_file", text_or_null(settings.job_file)},
            {"preset", settings.preset},
            {"target", value_or_null(settings.target)},
            {"below", settings.below},
            {"minimum", value_or_null(settings.minimum)},
            {"cell_limit", limit},
            {"target_passes", value_or_null(answer.target_passes)},
            {"target_passes_from", text_or_null(answer.target_passes_from)},
            {"radius", answer.spots ? json(answer.spots->radius) : value_or_null(settings.radius)},
            {"window", answer.road ? json(answer.road->window) : value_or_null(settings.window)},
            {"all_records", settings.all_records},
            {"filters", filters_json(answer)},
            {"thresholds", thresholds}};
}

json names_json(const trait_summary::column& column) {
    json names = json::array();
    for (const named_rows& each : column.names)
        names.push_back({{"name", each.name}, {"rows", each.rows}});
    return names;
}

json traits_json(const trait_summary& traits) {
    json described = json::object();
    for (const trait which : {trait::machine, trait::lift, trait::direction, trait::vibration}) {
        const trait_summary::column& column = traits[which];
        if (column.name.empty()) continue;
        described[name_of(which)] = {{"column", column.name},
                                     {"missing", column.missing},
                                     {"further_names", column.further_names}};
    }
    return described;
}

json ranges_json(const trait_summary& traits) {
    json ranges = json::array();
    for (const trait which :
         {trait::speed, trait::frequency, trait::amplitude, trait::temperature}) {
        const trait_summary::column& column = traits[which];
        if (column.name.empty()) continue;
        const bool has_any = column.range.count > 0;
        const auto number = [&](double value) {
            return has_any ? number_or_null(value) : json(nullptr);
        };
        ranges.push_back({{"trait", name_of(which)},
                          {"column", column.name},
                          {"unit", text_or_null(column.unit)},
                          {"count", column.range.count},
                          {"missing", column.missing},
                          {"least", number(column.range.least)},
                          {"mean", number(column.range.mean)},
                          {"most", number(column.range.most)}});
    }
    return ranges;
}

json time_json(const trait_summary& traits) {
    const trait_summary::column& column = traits[trait::time];
    if (column.name.empty()) return nullptr;
    const auto moment = [&](std::int64_t time) {
        return traits.times > 0 ? json(time_text(time)) : json(nullptr);
    };
    return {{"column", column.name},
            {"first", moment(traits.first_time)},
            {"last", moment(traits.last_time)},
            {"missing", column.missing},
            {"unreadable", traits.unreadable_times}};
}

json data_json(const report_answer& answer) {
    const trait_summary& traits = answer.traits;
    const used_column& value = answer.reading.value;
    const std::string& unit = value.unit.empty() ? answer.settings.value_unit : value.unit;
    json where = nullptr;
    if (answer.cells_extent)
        where = {{"x_least", number_or_null(answer.cells_extent->x_least)},
                 {"x_most", number_or_null(answer.cells_extent->x_most)},
                 {"y_least", number_or_null(answer.cells_extent->y_least)},
                 {"y_most", number_or_null(answer.cells_extent->y_most)}};
    return {{"value", value.found() ? json{{"name", value.name}, {"unit", text_or_null(unit)}}
                                    : json(nullptr)},
            {"length_unit", text_or_null(answer.length_unit)},
            {"coordinate_system", text_or_null(answer.reading.system)},
            {"time", time_json(traits)},
            {"machines", names_json(traits[trait::machine])},
            {"lifts", names_json(traits[trait::lift])},
            {"directions", names_json(traits[trait::direction])},
            {"vibration", names_json(traits[trait::vibration])},
            {"columns_of_names", traits_json(traits)},
            {"ranges", ranges_json(traits)},
            {"extent", where}};
}

json cells_part(const report_answer& answer) {
    json cells = cells_json(answer.cells);
    cells["last_pass_only"] = answer.finished_layer;
    cells["earlier_records_left_out"] = answer.reading.earlier_passes;
    cells["finished_layer"] = answer.finished_layer;
    return cells;
}

const char* name_of(outcome result) {
    switch (result) {
    case outcome::met: return "met";
    case outcome::missed: return "missed";
    case outcome::not_given: break;
    }
    return "not_given";
}

json verdicts_json(const report_answer& answer) {
    json verdicts = json::array();
    for (const verdict& one : answer.verdicts)
        verdicts.push_back(
            {{"key", one.key},
             {"part", one.part},
             {"threshold", threshold_json(one.measured_against)},
             {"at_least", one.at_least},
             {"measured", one.measured ? number_or_null(*one.measured) : json(nullptr)},
             {"unit", one.unit},
             {"outcome", name_of(one.result)},
             {"reason_key", text_or_null(one.reason_key)},
             {"reason", text_or_null(one.reason)},
             {"basis", one.basis}});
    return verdicts;
}

json pass_counts_json(const report_answer& answer) {
    if (answer.pass_counts.empty()) return nullptr;
    std::int64_t all = 0;
    for (const pass_share& share : answer.pass_counts) all += share.cells;
    json counts = json::array();
    for (const pass_share& share : answer.pass_counts)
        counts.push_back(
            {{"passes", share.passes},
             {"cells", share.cells},
             {"percent", 100.0 * static_cast<double>(share.cells) / static_cast<double>(all)}});
    return counts;
}

json spots_part(const report_answer& answer) {
    if (!answer.spots) return nullptr;
    json part = part_of(*answer.spots);
    json band = json::array();
    for (const band_point& point : answer.band)
        band.push_back({{"value", point.value},
                        {"fitted", point.fitted},
                        {"lower", point.lower},
                        {"upper", point.upper}});
    part["band"] = answer.band.empty() ? json(nullptr) : band;
    return part;
}

json uniformity_json(const report_answer& answer) {
    json part{{"coefficient_of_variation", nullptr},
              {"sill", nullptr},
              {"range", nullptr},
              {"nugget", nullptr},
              {"model", nullptr}};
    if (answer.stats)
        part["coefficient_of_variation"] = number_or_null(answer.stats->result.x_stat[8]);
    if (answer.semivariogram && answer.semivariogram->is_fitted()) {
        const semivariogram& result = answer.semivariogram->result;
        part["sill"] = number_or_null(result.reading[1]);
        part["range"] = number_or_null(result.reading[0]);
        part["nugget"] = number_or_null(result.reading[3]);
        part["model"] = "exponential";
    }
    return part;
}

json stations_json(const road_answer& road) {
    json stations = json::array();
    for (const road_station& one : road.stations)
        stations.push_back({{"from", one.from},
                            {"to", one.to},
                            {"cells", one.cells},
                            {"mean", number_or_null(one.mean)},
                            {"running_mean", number_or_null(one.running_mean)},
                            {"share_percent", number_or_null(one.share)},
                            {"passes", number_or_null(one.passes)}});
    return stations;
}

json lattice_json(const cell_lattice& lattice) {
    return {{"along", lattice.along},
            {"across", lattice.across},
            {"angle", lattice.angle},
            {"origin", {lattice.origin_x, lattice.origin_y}},
            {"is_lattice", lattice.is_lattice},
            {"rows_are_shifted", lattice.rows_are_shifted},
            {"rows_run_along", lattice.rows_run_along},
            {"scatter", number_or_null(lattice.scatter)}};
}

json road_json(const report_answer& answer) {
    if (!answer.road) return nullptr;
    const road_answer& road = *answer.road;
    json axis = json::array();
    for (const road_point& vertex : road.frame.axis) axis.push_back({vertex.x, vertex.y});
    json weak = json::array();
    for (const weak_stretch& stretch : road.weak)
        weak.push_back({{"from", stretch.from},
                        {"to", stretch.to},
                        {"cells", stretch.cells},
                        {"mean", number_or_null(stretch.mean)},
                        {"share_percent", number_or_null(stretch.share)},
                        {"lowest", number_or_null(stretch.lowest)}});
    return {{"frame",
             {{"axis", axis},
              {"length", road.frame.length},
              {"least_offset", road.frame.least_offset},
              {"most_offset", road.frame.most_offset},
              {"axis_from", road.frame.axis_from},
              {"is_bent", road.frame.is_bent}}},
            {"lattice", lattice_json(road.lattice)},
            {"window", road.window},
            {"step", road.step},
            {"weak_below", number_or_null(road.weak_below)},
            {"weak_by", road.weak_by},
            {"stations", stations_json(road)},
            {"weak", weak}};
}

json rings_json(const polygon& area) {
    json rings = json::array();
    const auto add = [&](const outline& ring) {
        json vertices = json::array();
        for (std::size_t i = 0; i < ring.x.size(); ++i)
            vertices.push_back({number_or_null(ring.x[i]), number_or_null(ring.y[i])});
        rings.push_back(std::move(vertices));
    };
    add(area.outer);
    for (const outline& hole : area.holes) add(hole);
    return rings;
}

json outlines_json(const report_answer& answer) {
    json outlines = json::array();
    for (const drawn_outlines& drawn : answer.outlines)
        for (const polygon& area : drawn.polygons)
            outlines.push_back(
                {{"role", drawn.role}, {"name", nullptr}, {"rings", rings_json(area)}});
    return outlines;
}

json missing_json(const report_answer& answer) {
    json missing = json::array();
    for (const missing_part& part : answer.missing)
        missing.push_back({{"part", part.part}, {"key", part.key}, {"text", part.text}});
    return missing;
}

json cautions_json(const report_answer& answer) {
    json cautions = json::array();
    for (const caution& one : answer.cautions) {
        json numbers = json::array();
        for (const double number : one.numbers) numbers.push_back(number_or_null(number));
        cautions.push_back(
            {{"part", one.part}, {"key", one.key}, {"text", one.text}, {"numbers", numbers}});
    }
    return cautions;
}

template <class Answer> json part_or_null(const std::optional<Answer>& answer) {
    return answer ? part_of(*answer) : json(nullptr);
}

} // namespace

json document_of(const report_answer& answer) {
    json document = new_document("report");
    document["title"] = text_or_null(answer.settings.texts.title);
    document["time_stamp"] = text_or_null(answer.settings.time_stamp);
    document["texts"] = texts_json(answer.settings.texts);
    document["inputs"] = inputs_json(answer);
    add_reading(document, answer.reading);
    document["settings"] = settings_json(answer);
    document["data"] = data_json(answer);
    document["cells"] = cells_part(answer);
    document["verdicts"] = verdicts_json(answer);
    document["stats"] = part_or_null(answer.stats);
    document["pass_counts"] = pass_counts_json(answer);
    document["coverage"] = part_or_null(answer.coverage);
    document["curve"] = part_or_null(answer.curve);
    document["spots"] = spots_part(answer);
    document["semivariogram"] = part_or_null(answer.semivariogram);
    document["uniformity"] = uniformity_json(answer);
    document["road"] = road_json(answer);
    document["outlines"] = outlines_json(answer);
    document["missing"] = missing_json(answer);
    document["cautions"] = cautions_json(answer);
    document["notes"] = answer.notes;
    return document;
}

} // namespace qmx_study
