#include "text/select_report.hpp"

#include <fmt/format.h>

#include "text/reading_report.hpp"
#include "text/text_table.hpp"

namespace qmx_study {

namespace {

json extents_json(const extents& bounds, bool any) {
    if (!any) return nullptr;
    return {{"west", bounds.west},
            {"east", bounds.east},
            {"south", bounds.south},
            {"north", bounds.north}};
}

} // namespace

std::string select_text(const select_report& report) {
    const std::size_t whole = report.points.points.size();
    const std::size_t inside = report.indices.size();
    const auto percent = [&](std::size_t part) {
        return whole == 0 ? std::string("-")
                          : fmt::format("{:.2f}", 100.0 * static_cast<double>(part) /
                                                      static_cast<double>(whole));
    };
    std::string text = reading_text(report.source, report.points);
    text += "Shape     " + report.shape + "\n\n";
    text_table table("lrrrrrr");
    table.add({"", "points", "%", "west", "east", "south", "north"});
    table.add_rule();
    const auto add = [&](const char* name, std::size_t count, const extents* bounds) {
        std::vector<std::string> row{name, count_text(static_cast<std::int64_t>(count)),
                                     percent(count)};
        if (bounds && count > 0)
            for (const double value : {bounds->west, bounds->east, bounds->south, bounds->north})
                row.push_back(coordinate_text(value, false));
        table.add(std::move(row));
    };
    add("selected", inside, &report.selected);
    add("not selected", whole - inside, nullptr);
    add("all", whole, &report.all);
    text += table.text();
    if (!report.output.empty())
        text += fmt::format("\n{} rows written to {}\n",
                            count_text(static_cast<std::int64_t>(inside)), report.output);
    return text;
}

json select_json(const select_report& report) {
    json document = new_document("select");
    add_reading(document, report.source, report.points);
    document["shape"] = report.shape_json;
    const std::size_t whole = report.points.points.size();
    document["points"] = whole;
    document["selected"] = report.indices.size();
    document["not_selected"] = whole - report.indices.size();
    document["units"] = {{"extents", text_or_null(report.points.x.unit)}};
    document["extents"] = extents_json(report.all, whole > 0);
    document["selected_extents"] = extents_json(report.selected, !report.indices.empty());
    json places = json::array();
    for (const std::int32_t index : report.indices)
        places.push_back(
            report.source.line_of(report.points.records[static_cast<std::size_t>(index)]));
    document[report.source.is_delimited ? "lines" : "records"] = places;
    document["output"] = text_or_null(report.output);
    return document;
}

} // namespace qmx_study
