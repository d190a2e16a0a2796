// The build without GDAL: GeoJSON alone, with the positions as they are.
#include "study/output/vector_output.hpp"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "study/base/errors.hpp"

namespace qmx_study {

namespace {

using json = nlohmann::ordered_json;

} // namespace

struct vector_output::state {
    table_layout layout;
    json properties = json::object();
    json position = json::array({nullptr, nullptr});
    std::string text = "{\"type\":\"FeatureCollection\",\"features\":[";
    bool is_first = true;

    // A row without a number has null under its name, so that every feature has all columns.
    void clear() {
        properties = json::object();
        for (std::size_t i = 0; i < layout.columns.size(); ++i)
            if (is_property(i)) properties[layout.columns[i].name] = nullptr;
        position = json::array({nullptr, nullptr});
    }
    bool is_property(std::size_t column) const {
        const auto number = static_cast<int>(column);
        return layout.keeps_positions || (number != layout.x && number != layout.y);
    }
    void set(std::size_t column, const json& value) {
        if (static_cast<int>(column) == layout.x) position[0] = value;
        if (static_cast<int>(column) == layout.y) position[1] = value;
        if (is_property(column)) properties[layout.columns[column].name] = value;
    }
};

void check_can_write(vector_format format, const std::string& output) {
    if (format == vector_format::geojson) return;
    throw usage_error(fmt::format("--output {}: this build has no GDAL and writes .csv, .tsv, .txt "
                                  "(each also with .gz) and .geojson alone",
                                  output),
                      error_place{"--output", output, 0, {}});
}

vector_output::vector_output(vector_format, const table_layout& layout, const output_names& names)
    : now(std::make_unique<state>()) {
    if (layout.in_degrees && layout.system && !layout.system->is_same_as(*wgs84()))
        throw usage_error(fmt::format("--output {}: this build has no GDAL and cannot bring the "
                                      "positions to degrees; take another ending, such as .csv",
                                      names.output),
                          error_place{"--output", names.output, 0, {}});
    now->layout = layout;
    now->clear();
    if (layout.x >= 0 && layout.system && !layout.system->is_same_as(*wgs84()))
        now->text.insert(now->text.find("\"features\""),
                         fmt::format(R"("crs":{{"type":"name","properties":{{"name":{}}}}},)",
                                     json(layout.system->name()).dump()));
}

vector_output::~vector_output() = default;

void vector_output::text(std::size_t column, std::string_view value) {
    now->set(column, std::string(value));
}

void vector_output::integer(std::size_t column, std::int64_t value) {
    now->set(column, value);
}

void vector_output::real(std::size_t column, double value) {
    now->set(column, value);
}

void vector_output::end_row() {
    json feature{{"type", "Feature"}, {"properties", now->properties}, {"geometry", nullptr}};
    if (!now->position[0].is_null() && !now->position[1].is_null())
        feature["geometry"] = {{"type", "Point"}, {"coordinates", now->position}};
    now->text += now->is_first ? "\n" : ",\n";
    now->is_first = false;
    now->text += feature.dump(-1, ' ', false, json::error_handler_t::replace);
    now->clear();
}

void vector_output::write_to(const piece_taker& take) {
    now->text += "\n]}\n";
    take(now->text);
}

} // namespace qmx_study
