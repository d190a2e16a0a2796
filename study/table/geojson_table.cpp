#include "study/table/geojson_table.hpp"

#include <algorithm>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "study/base/errors.hpp"
#include "study/table/text_input.hpp"
#include "study/table/vector_table.hpp"

namespace qmx_study {

namespace {

using json = nlohmann::ordered_json; // columns in the order of the file

// What follows the brackets does so by recursion, which a stack holds only so deep. Collections within
// collections are read as deep as in well-known text.
constexpr int most_nested = 100;

// How deep brackets stand within each other, those in texts left out.
int nesting_of(std::string_view text) {
    int depth = 0, most = 0;
    bool is_quoted = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (c == '"') is_quoted = !is_quoted;
        if (is_quoted && c == '\\') ++i;
        if (is_quoted) continue;
        if (c == '{' || c == '[') most = std::max(most, ++depth);
        if (c == '}' || c == ']') --depth;
    }
    return most;
}

bool has_text(const json& value, const char* key, std::string_view wanted) {
    const auto found = value.find(key);
    return found != value.end() && found->is_string() &&
           found->get_ref<const std::string&>() == wanted;
}

void convert_position(const json& position, ring& into) {
    into.x.push_back(position.at(0).get<double>());
    into.y.push_back(position.at(1).get<double>());
}

void convert_polygon(const json& rings, shape& into) {
    into.kind = shape_kind::polygon;
    into.name = "POLYGON";
    into.is_empty = rings.empty();
    for (const json& each : rings) {
        ring& vertices = into.rings.emplace_back();
        for (const json& position : each) convert_position(position, vertices);
    }
}

// Throws a json exception where the parts are not those of GeoJSON.
void convert(const json& from, shape& into) {
    into = {};
    const auto& type = from.at("type").get_ref<const std::string&>();
    for (const char c : type)
        into.name += c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
    if (type == "GeometryCollection") {
        into.kind = shape_kind::collection;
        for (const json& part : from.at("geometries")) convert(part, into.parts.emplace_back());
        into.is_empty = into.parts.empty();
        return;
    }
    const json& coordinates = from.at("coordinates");
    into.is_empty = coordinates.empty();
    if (type == "Point") {
        into.kind = shape_kind::point;
        if (!into.is_empty)
            into.set_point(coordinates.at(0).get<double>(), coordinates.at(1).get<double>());
    } else if (type == "LineString") {
        into.kind = shape_kind::line;
        for (const json& position : coordinates)
            convert_position(position,
                             into.rings.empty() ? into.rings.emplace_back() : into.rings[0]);
    } else if (type == "Polygon") {
        convert_polygon(coordinates, into);
    } else if (type == "MultiPolygon" || type == "MultiPoint") {
        into.kind = shape_kind::collection;
        for (const json& part : coordinates) {
            shape& added = into.parts.emplace_back();
            if (type == "MultiPolygon") {
                convert_polygon(part, added);
            } else {
                added.set_point(part.at(0).get<double>(), part.at(1).get<double>());
            }
        }
    }
}

std::vector<json*> features_of(json& document, const std::string& file) {
    std::vector<json*> features;
    if (document.is_discarded())
        throw usage_error(fmt::format("{}: this is no JSON; write the file again", file),
                          {{}, file, 0, {}});
    if (has_text(document, "type", "FeatureCollection") && document.contains("features")) {
        for (json& feature : document["features"]) features.push_back(&feature);
        return features;
    }
    if (document.contains("coordinates") || document.contains("geometries"))
        document = json{{"type", "Feature"}, {"geometry", document}};
    if (!has_text(document, "type", "Feature"))
        throw usage_error(fmt::format("{}: this JSON is no GeoJSON; features are wanted", file),
                          {{}, file, 0, {}});
    return {&document};
}

// A column holds numbers where no feature has anything else in it.
void add_columns(const json& feature, std::vector<source_column>& columns) {
    const auto properties = feature.find("properties");
    if (properties == feature.end() || !properties->is_object()) return;
    for (const auto& item : properties->items()) {
        const std::string& name = item.key();
        const json& value = item.value();
        auto column = std::find_if(columns.begin(), columns.end(),
                                   [&](const auto& each) { return each.name == name; });
        if (column == columns.end()) column = columns.insert(column, {name, column_type::number});
        if (!value.is_null() && !value.is_number() && !value.is_boolean())
            column->type = column_type::text;
    }
}

// Longitude and latitude, unless an older file names another system.
coordinate_system system_of(const json& document) {
    if (!document.contains("crs")) return wgs84();
    const json name = document.value(json::json_pointer("/crs/properties/name"), json());
    return name.is_string() ? system_from_text(name.get<std::string>()) : nullptr;
}

} // namespace

struct geojson_table::state {
    json document;
    std::vector<json*> features;
    std::size_t next = 0;           // of features
    std::vector<std::string> texts; // of the columns of this record
    shape converted;

    const json* field(const std::string& column) const {
        const json& feature = *features[next - 1];
        const auto properties = feature.find("properties");
        if (properties == feature.end() || !properties->is_object()) return nullptr;
        const auto found = properties->find(column);
        return found == properties->end() || found->is_null() ? nullptr : &*found;
    }
};

geojson_table::geojson_table(const std::string& file, const std::string& layer)
    : now(std::make_unique<state>()) {
    const std::string text = whole_text(file);
    const std::size_t start = text.find_first_not_of(" \t\r\n");
    if (start == std::string::npos || text[start] != '{') refuse_unknown_format(file, "");
    if (nesting_of(text) > most_nested)
        throw usage_error(
            fmt::format("{}: its brackets are nested more than {} deep, which no features need",
                        file, most_nested),
            {{}, file, 0, {}});
    now->document = json::parse(text, nullptr, false);
    now->features = features_of(now->document, file);
    if (!layer.empty() && !has_text(now->document, "name", layer))
        throw usage_error(
            fmt::format("{}: it has no layer \"{}\"; a GeoJSON holds just one", file, layer),
            {"--layer", file, 0, {}});
    row_count = static_cast<std::int64_t>(now->features.size());
    for (const json* const feature : now->features) {
        is_spatial = is_spatial || feature->contains("geometry");
        add_columns(*feature, column_list);
    }
    now->texts.resize(column_list.size());
    reference = system_of(now->document);
}

geojson_table::~geojson_table() = default;

void geojson_table::rewind() {
    now->next = 0;
}

bool geojson_table::next() {
    if (now->next == now->features.size()) return false;
    const json& feature = *now->features[now->next++];
    const auto geometry = feature.find("geometry");
    now->converted = {};
    if (geometry == feature.end() || geometry->is_null()) return true;
    try {
        convert(*geometry, now->converted);
    } catch (const json::exception&) {
        reason = fmt::format("feature {} has a geometry that is no GeoJSON", now->next);
        return false;
    }
    return true;
}

bool geojson_table::is_missing(int column) const {
    return now->field(column_list[static_cast<std::size_t>(column)].name) == nullptr;
}

std::string_view geojson_table::text(int column) const {
    const auto at = static_cast<std::size_t>(column);
    const json* const field = now->field(column_list[at].name);
    if (!field) return {};
    if (field->is_string()) return field->get_ref<const std::string&>();
    std::string& kept = now->texts[at];
    if (field->is_boolean()) {
        kept = field->get<bool>() ? "1" : "0";
    } else {
        kept =
            field->is_number_float() ? fmt::format("{:.15g}", field->get<double>()) : field->dump();
    }
    return kept;
}

double geojson_table::number(int column) const {
    const json& field = *now->field(column_list[static_cast<std::size_t>(column)].name);
    return field.is_boolean() ? static_cast<double>(field.get<bool>()) : field.get<double>();
}

const shape* geojson_table::geometry() const {
    return now->converted.name.empty() ? nullptr : &now->converted;
}

} // namespace qmx_study
