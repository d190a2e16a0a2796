#include "text/reading_report.hpp"

#include <fmt/format.h>

#include "text/text_table.hpp"

namespace qmx_study {

namespace {

std::string other_values(const lot& points) {
    std::string names;
    for (const value_candidate& candidate : points.candidates)
        if (candidate.name != points.value.name)
            names += fmt::format("{}{} ({})", names.empty() ? "" : ", ", candidate.name,
                                 candidate.filled == 0 ? "no values"
                                                       : count_text(candidate.filled) + " values");
    return names;
}

std::string first_of(const table_source& source, const dropped_rows& rows) {
    std::string text = "first on " + source.place(rows.first_record);
    if (!rows.value.empty()) text += fmt::format(": \"{}\"", rows.value);
    return text;
}

json column_json(const used_column& column) {
    if (!column.found()) return nullptr;
    return json{{"name", column.name},
                {"unit", text_or_null(column.unit)},
                {"how", text_or_null(column.why)}};
}

} // namespace

std::string reading_text(const table_source& source, const lot& points) {
    text_table table("ll", 0);
    table.add({"File",
               fmt::format("{}  ({}, {} columns{})", source.file, source.format,
                           source.columns.size(), points.decimal == ',' ? ", decimal comma" : "")});
    if (points.value.found()) {
        table.add({"Value", fmt::format("{}{}  {}", points.value.name,
                                        unit_suffix(points.value.unit), points.value.why)});
        if (const std::string others = other_values(points); !others.empty())
            table.add({"", "others: " + others});
    }
    if (points.has_positions())
        table.add(
            {"Position",
             fmt::format("{}, {}{}  {}", points.x.name, points.y.name, unit_suffix(points.x.unit),
                         points.is_projected ? std::string("projected to ") + points.system->name()
                                             : points.x.why)});
    if (points.pass.found()) table.add({"Pass", points.pass.name + "  " + points.pass.why});
    std::string rows = fmt::format("{} read, {} used", count_text(points.rows_read),
                                   count_text(static_cast<std::int64_t>(points.points.size())));
    if (points.rows_dropped() > 0)
        rows += fmt::format(", {} dropped", count_text(points.rows_dropped()));
    if (points.rows_filtered > 0)
        rows += fmt::format(", {} left out by --where", count_text(points.rows_filtered));
    if (points.without_position > 0)
        rows += fmt::format(" ({} of the used without a position)",
                            count_text(points.without_position));
    table.add({"Rows", rows});
    for (const dropped_rows& reason : points.dropped)
        table.add({reason.reason == points.dropped.front().reason ? "Dropped" : "",
                   fmt::format("{}: {}, {}", count_text(reason.count), reason.text,
                               first_of(source, reason))});
    for (const stripped_text& stripped : points.stripped)
        table.add({"Stripped",
                   fmt::format("the {} \"{}\"{} from {} value{} of {}",
                               stripped.is_unit ? "unit" : "label", stripped.text,
                               stripped.is_unit ? "" : " and the like", count_text(stripped.count),
                               stripped.count == 1 ? "" : "s", stripped.column)});
    for (const std::string& note : points.notes) table.add({"Note", note});
    return table.text();
}

void add_reading(json& document, const table_source& source, const lot& points) {
    json dropped = json::array();
    for (const dropped_rows& reason : points.dropped)
        dropped.push_back({{"reason", reason.reason},
                           {"text", reason.text},
                           {"count", reason.count},
                           {source.is_delimited ? "first_line" : "first_record",
                            source.line_of(reason.first_record)},
                           {"column", text_or_null(reason.column)},
                           {"value", text_or_null(reason.value)}});
    json stripped = json::array();
    for (const stripped_text& text : points.stripped)
        stripped.push_back({{"column", text.column},
                            {text.is_unit ? "unit" : "label", text.text},
                            {"count", text.count}});
    document["input"] = {
        {"file", source.file},
        {"format", source.format},
        {"decimal_mark", std::string(1, points.decimal)},
        {"coordinate_system", points.system ? json(points.system->name()) : json(nullptr)},
        {"rows_read", points.rows_read},
        {"rows_used", points.points.size()},
        {"rows_without_position", points.without_position},
        {"rows_left_out_by_filter", points.rows_filtered},
        {"rows_dropped", points.rows_dropped()},
        {"dropped", dropped},
        {"stripped", stripped},
        {"notes", points.notes}};
    json candidates = json::array();
    for (const value_candidate& candidate : points.candidates)
        candidates.push_back({{"name", candidate.name},
                              {"unit", text_or_null(candidate.unit)},
                              {"values", candidate.filled}});
    document["columns"] = {{"x", column_json(points.x)},
                           {"y", column_json(points.y)},
                           {"value", column_json(points.value)},
                           {"pass", column_json(points.pass)},
                           {"value_candidates", candidates}};
}

} // namespace qmx_study
