#include "text/select_text.hpp"

#include <fmt/format.h>

#include "text/answer_parts.hpp"
#include "text/text_table.hpp"

namespace qmx_terminal {

using namespace qmx_study;

namespace {

std::string shape_text(const select_answer& answer) {
    if (answer.circle)
        return fmt::format("circle of radius {} about {}, {}, its rim included",
                           number_text(answer.circle->radius),
                           coordinate_text(answer.circle->x, false),
                           coordinate_text(answer.circle->y, false));
    const areas_account& areas = answer.areas;
    std::string text = fmt::format("{} polygon{} with {} vertices from {}", areas.polygons,
                                   areas.polygons == 1 ? "" : "s", areas.vertices, areas.file);
    if (areas.polygons > 1) text += "; points in any of them";
    if (areas.holes > 0)
        text += fmt::format("; {} hole{} left out", areas.holes, areas.holes == 1 ? "" : "s");
    return text + areas.assumption;
}

} // namespace

std::string select_text(const select_answer& answer) {
    const std::int64_t whole = answer.reading.rows_used;
    text_table table("lrrrrrr");
    table.add({"", "points", "%", "west", "east", "south", "north"});
    table.add_rule();
    const auto add = [&](const char* name, std::int64_t count, const extents* bounds) {
        std::vector<std::string> row{
            name, count_text(count),
            whole == 0 ? "-"
                       : fmt::format("{:.2f}", 100.0 * static_cast<double>(count) /
                                                   static_cast<double>(whole))};
        if (bounds && count > 0)
            for (const double value : {bounds->west, bounds->east, bounds->south, bounds->north})
                row.push_back(coordinate_text(value, false));
        table.add(std::move(row));
    };
    const auto selected = static_cast<std::int64_t>(answer.records.size());
    add("selected", selected, &answer.selected);
    add("not selected", answer.not_selected(), nullptr);
    add("all", whole, &answer.all);
    std::string text = reading_text(answer.reading) + "Shape     " + shape_text(answer) + "\n\n";
    text += table.text();
    if (!answer.output.empty())
        text += fmt::format("\n{} rows written to {}\n", count_text(selected), answer.output);
    return text;
}

} // namespace qmx_terminal
