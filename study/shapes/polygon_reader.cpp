#include "study/shapes/polygon_reader.hpp"

#include <algorithm>
#include <cmath>

#include <fmt/format.h>

#include "study/base/errors.hpp"
#include "study/lot/column_choice.hpp"
#include "study/table/table_source.hpp"

namespace qmx_study {

namespace {

outline outline_of(const OGRLinearRing& ring) {
    outline vertices;
    const int count = ring.getNumPoints();
    for (int i = 0; i < count; ++i) {
        vertices.x.push_back(ring.getX(i));
        vertices.y.push_back(ring.getY(i));
    }
    return vertices;
}

void add_polygon(polygon_set& set, const OGRPolygon& geometry) {
    if (geometry.IsEmpty()) return;
    polygon area;
    area.outer = outline_of(*geometry.getExteriorRing());
    for (int i = 0; i < geometry.getNumInteriorRings(); ++i)
        area.holes.push_back(outline_of(*geometry.getInteriorRing(i)));
    set.polygons.push_back(std::move(area));
}

void add_geometry(polygon_set& set, const OGRGeometry& geometry, const std::string& place) {
    const OGRwkbGeometryType type = wkbFlatten(geometry.getGeometryType());
    if (type == wkbPolygon) {
        add_polygon(set, *geometry.toPolygon());
    } else if (type == wkbMultiPolygon || type == wkbGeometryCollection) {
        for (const OGRGeometry* const part : *geometry.toGeometryCollection())
            add_geometry(set, *part, place);
    } else if (type == wkbLineString && geometry.toLineString()->get_IsClosed()) {
        OGRLinearRing ring;
        ring.addSubLineString(geometry.toLineString());
        set.polygons.push_back({outline_of(ring), {}});
    } else {
        throw usage_error(fmt::format("{}, {}: a {} is no area; polygons are wanted", set.file,
                                      place, geometry.getGeometryName()));
    }
}

void read_geometries(polygon_set& set, table_source& source) {
    set.system = copy_of(source.reference());
    set.is_geographic = set.system && set.system->IsGeographic();
    while (source.next())
        if (source.geometry()) add_geometry(set, *source.geometry(), source.place(source.record()));
}

// A column whose value tells one outline from the next.
int column_of_parts(const table_source& source) {
    for (const char* const name : {"polygon", "outline", "area", "part", "ring", "id"})
        if (const int column = source.column_named(name); column >= 0) return column;
    return -1;
}

void read_vertices(polygon_set& set, table_source& source) {
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
            const text_value cell = source.value(column.index, survey.style);
            if (std::isnan(cell.value))
                throw usage_error(
                    fmt::format("{}, {}, column {}: \"{}\" is no coordinate; each row "
                                "is a vertex, so none can be left out",
                                set.file, place, column.name, source.text(column.index)));
            position[i] = cell.value;
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
    progress quiet;
    polygon_set set;
    set.file = file;
    table_source source(file, layer, quiet);
    if (source.has_geometry()) {
        read_geometries(set, source);
    } else {
        read_vertices(set, source);
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
