#include "study/shapes/polygon_reader.hpp"

#include <algorithm>
#include <cmath>

#include <fmt/format.h>

#include "study/base/errors.hpp"
#include "study/lot/column_choice.hpp"
#include "study/lot/column_names.hpp"
#include "study/lot/row_survey.hpp"
#include "study/table/shape.hpp"
#include "study/table/table_source.hpp"
#include "study/table/text_input.hpp"

namespace qmx_study {

namespace {

outline outline_of(const ring& vertices) {
    return {vertices.x, vertices.y};
}

void add_polygon(polygon_set& set, const shape& geometry) {
    if (geometry.is_empty || geometry.rings.empty()) return;
    polygon area;
    area.outer = outline_of(geometry.rings.front());
    for (std::size_t i = 1; i < geometry.rings.size(); ++i)
        area.holes.push_back(outline_of(geometry.rings[i]));
    set.polygons.push_back(std::move(area));
}

void add_geometry(polygon_set& set, const shape& geometry, const std::string& place) {
    if (geometry.kind == shape_kind::polygon) {
        add_polygon(set, geometry);
    } else if (geometry.kind == shape_kind::collection && geometry.name != "MULTIPOINT") {
        for (const shape& part : geometry.parts) add_geometry(set, part, place);
    } else if (geometry.kind == shape_kind::line && !geometry.rings.empty() &&
               geometry.rings.front().is_closed()) {
        set.polygons.push_back({outline_of(geometry.rings.front()), {}});
    } else {
        throw usage_error(fmt::format("{}, {}: a {} is no area; polygons are wanted", set.file,
                                      place, geometry.name),
                          {{}, set.file, 0, {}});
    }
}

void read_geometries(polygon_set& set, table_source& source) {
    set.system = source.reference();
    set.is_geographic = set.system && set.system->is_geographic();
    while (source.next()) {
        const std::string place = source.place(source.record());
        if (const shape* const geometry = source.geometry()) {
            add_geometry(set, *geometry, place);
        } else if (const std::string_view text = source.geometry_text(); !text.empty()) {
            throw usage_error(fmt::format("{}, {}: \"{}\" is no well-known text of a polygon",
                                          set.file, place, text.substr(0, 60)),
                              {{}, set.file, source.line_of(source.record()), {}});
        }
    }
}

bool is_wkt_name(const std::string& file) {
    const std::string name = lower_case(file);
    return name.ends_with(".wkt") || name.ends_with(".wkt.gz");
}

std::string_view without_blank_lines(std::string_view text) {
    const std::size_t start = text.find_first_not_of(" \t\r\n;");
    return start == std::string_view::npos ? std::string_view() : text.substr(start);
}

// Polygons in well-known text, one after the other.
void read_wkt_file(polygon_set& set) {
    const std::string text = whole_text(set.file);
    std::string_view rest = without_blank_lines(text);
    while (!rest.empty()) {
        const auto start = static_cast<std::size_t>(rest.data() - text.data());
        const auto line =
            1 + std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(start), '\n');
        shape geometry;
        if (!take_wkt(rest, geometry))
            throw usage_error(fmt::format("{}, line {}: \"{}\" is no well-known text such as "
                                          "POLYGON ((0 0, 9 0, 9 5, 0 0))",
                                          set.file, line,
                                          rest.substr(0, rest.find('\n')).substr(0, 60)),
                              {{}, set.file, line, {}});
        add_geometry(set, geometry, fmt::format("line {}", line));
        rest = without_blank_lines(rest);
    }
}

// A column whose value tells one outline from the next.
int column_of_parts(const table_source& source) {
    for (const char* const name : {"polygon", "outline", "area", "part", "ring", "id"})
        if (const int column = source.column_named(name); column >= 0) return column;
    return -1;
}

// Rows with a measured value or a pass count are points of a lot, which enclose no area.
void refuse_points(const polygon_set& set, const table_source& source) {
    for (const source_column& column : source.columns) {
        const column_role role = meaning_of_name(column.name).role;
        if (role == column_role::measured || role == column_role::pass_count)
            throw usage_error(fmt::format("{}: there is no polygon in it: its rows are points with "
                                          "{}, not the vertices of an outline",
                                          set.file, column.name),
                              {{}, set.file, 0, column.name});
    }
}

void read_vertices(polygon_set& set, table_source& source) {
    refuse_points(set, source);
    const row_survey survey = survey_rows(source, default_missing_texts(), '\0');
    reading_needs needs;
    needs.position = need::required;
    needs.value = need::unused;
    const column_choice choice = choose_columns(source, survey, {}, needs);
    set.is_geographic = choice.is_geographic;
    if (set.is_geographic) set.system = wgs84();
    const int parts = column_of_parts(source);
    std::string part;
    while (source.next()) {
        const std::string place = source.place(source.record());
        double position[2];
        for (int i = 0; i < 2; ++i) {
            const used_column& column = i == 0 ? choice.x : choice.y;
            const text_value field = survey.read(source, column.index);
            if (std::isnan(field.value))
                throw usage_error(
                    fmt::format("{}, {}, column {}: \"{}\" is no coordinate; each row "
                                "is a vertex, so none can be left out",
                                set.file, place, column.name, source.text(column.index)),
                    {{}, set.file, source.line_of(source.record()), column.name});
            position[i] = field.value;
        }
        const std::string this_part(parts >= 0 ? source.text(parts) : std::string_view());
        if (set.polygons.empty() || this_part != part) set.polygons.emplace_back();
        part = this_part;
        set.polygons.back().outer.x.push_back(position[0]);
        set.polygons.back().outer.y.push_back(position[1]);
    }
}

void check_outline(const polygon_set& set, const outline& ring) {
    for (std::size_t i = 0; i < ring.x.size(); ++i)
        if (!std::isfinite(ring.x[i]) || !std::isfinite(ring.y[i]))
            throw usage_error(
                fmt::format("{}: vertex {} of an outline is not a number", set.file, i + 1));
    const bool is_closed =
        !ring.x.empty() && ring.x.front() == ring.x.back() && ring.y.front() == ring.y.back();
    if (ring.x.size() < (is_closed ? 4U : 3U))
        throw usage_error(fmt::format("{}: an outline has {} vertices; an area takes at least 3",
                                      set.file, ring.x.size() - is_closed));
}

} // namespace

polygon_set read_polygons(const std::string& file, const std::string& layer) {
    polygon_set set;
    set.file = file;
    if (is_wkt_name(file)) {
        read_wkt_file(set);
    } else {
        progress quiet;
        table_source source(file, layer, quiet);
        if (source.has_geometry()) {
            read_geometries(set, source);
        } else {
            read_vertices(set, source);
        }
    }
    if (set.polygons.empty()) throw usage_error(fmt::format("{}: there is no polygon in it", file));
    for (const polygon& area : set.polygons) {
        check_outline(set, area.outer);
        set.vertices += area.outer.x.size();
        set.holes += area.holes.size();
        for (const outline& hole : area.holes) {
            check_outline(set, hole);
            set.vertices += hole.x.size();
        }
    }
    return set;
}

} // namespace qmx_study
