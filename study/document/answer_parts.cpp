#include "study/document/answer_parts.hpp"

#include <utility>

namespace qmx_study {

json column_json(const used_column& column) {
    if (!column.found()) return nullptr;
    return json{{"name", column.name},
                {"unit", text_or_null(column.unit)},
                {"how", text_or_null(column.why)}};
}

void add_reading(json& document, const reading_account& reading) {
    json dropped = json::array();
    for (const dropped_account& reason : reading.dropped)
        dropped.push_back(
            {{"reason", reason.rows.reason},
             {"text", reason.rows.text},
             {"count", reason.rows.count},
             {"first_file", reason.first_file},
             {reading.is_delimited ? "first_line" : "first_record", reason.first_line},
             {"column", text_or_null(reason.rows.column)},
             {"value", text_or_null(reason.rows.value)}});
    json stripped = json::array();
    for (const stripped_text& text : reading.stripped)
        stripped.push_back({{"column", text.column},
                            {text.is_unit ? "unit" : "label", text.text},
                            {"count", text.count}});
    json files = json::array();
    for (const file_account& file : reading.files)
        files.push_back({{"file", file.file},
                         {"rows_read", file.read},
                         {"rows_used", file.used},
                         {"rows_dropped", file.dropped},
                         {"rows_left_out_by_filter", file.filtered},
                         {"rows_left_out_otherwise", file.left_out()}});
    document["input"] = {{"file", reading.file},
                         {"files", files},
                         {"format", reading.format},
                         {"decimal_mark", std::string(1, reading.decimal)},
                         {"coordinate_system", text_or_null(reading.system)},
                         {"rows_read", reading.rows_read},
                         {"rows_used", reading.rows_used},
                         {"rows_without_position", reading.without_position},
                         {"rows_left_out_by_filter", reading.rows_filtered},
                         {"rows_of_earlier_passes", reading.earlier_passes},
                         {"rows_left_without_position", reading.left_without_position},
                         {"rows_dropped", reading.rows_dropped},
                         {"dropped", dropped},
                         {"stripped", stripped},
                         {"notes", reading.notes}};
    json candidates = json::array();
    for (const value_candidate& candidate : reading.candidates)
        candidates.push_back({{"name", candidate.name},
                              {"unit", text_or_null(candidate.unit)},
                              {"values", candidate.filled}});
    document["columns"] = {{"x", column_json(reading.x)},
                           {"y", column_json(reading.y)},
                           {"value", column_json(reading.value)},
                           {"pass", column_json(reading.pass)},
                           {"value_candidates", candidates}};
}

json cells_json(const cell_summary& cells) {
    return {{"count", cells.cells},
            {"with_several_records", cells.shared_cells},
            {"most_records", cells.most_records}};
}

json failure_json(const analysis_failure& failure) {
    if (!failure.has_failed()) return nullptr;
    json document{{"message", nullptr}, {"code", nullptr}, {"class", nullptr}, {"path", nullptr}};
    if (failure.event)
        document = {{"message", failure.event->message},
                    {"code", failure.event->code},
                    {"class", failure.event->severity},
                    {"path", failure.event->path}};
    document["explanation"] = failure.explanation;
    return document;
}

json whole_document(json head, const reading_account& reading, json part,
                    const std::string& output) {
    json document = std::move(head);
    add_reading(document, reading);
    for (auto& [key, value] : part.items()) document[key] = std::move(value);
    document["output"] = text_or_null(output);
    return document;
}

} // namespace qmx_study
