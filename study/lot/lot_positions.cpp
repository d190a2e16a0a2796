#include "study/lot/lot_positions.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

#include <fmt/format.h>

#include "study/base/errors.hpp"
#include "study/base/value_text.hpp"
#include "study/lot/bulk.hpp"

namespace qmx_study {

namespace {

void refuse_without_positions(const lot& points, const table_source& source, const char* option) {
    if (points.has_positions()) return;
    throw usage_error(fmt::format("{}: {} needs positions, and no columns of them were recognised; "
                                  "name them with --x and --y",
                                  source.file, option),
                      {option, source.file, 0, {}});
}

void take_named_system(lot& points, const table_source& source, const std::string& name) {
    refuse_without_positions(points, source, "--crs");
    points.system = system_from_text(name);
    if (!points.system)
        throw usage_error(
            fmt::format("--crs \"{}\": no such coordinate system; give a code such as EPSG:26915",
                        name),
            {"--crs", {}, 0, {}});
    points.is_geographic = points.system->is_geographic();
    const std::string unit = points.system->length_unit();
    for (used_column* const column : {&points.x, &points.y})
        if (column->unit.empty() || points.is_geographic) column->unit = unit;
}

// A lot that is some metres wide spans a few 1e-5 degrees, and no lot spans half a metre.
bool look_like_degrees(const bulk& all) {
    constexpr double widest = 0.5;
    constexpr std::size_t fewest = 3;
    const double width = all.right - all.left;
    const double height = all.top - all.bottom;
    return all.points >= fewest && all.left >= -180 && all.right <= 180 && all.bottom >= -90 &&
           all.top <= 90 && width < widest && height < widest && width > 0 && height > 0;
}

// Moves the positions to the plane. Rows without a place in it lose their position.
void project(lot& points, const table_source& source, const std::string& to,
             const reading_needs& needs, drop_counter& drops) {
    refuse_without_positions(points, source, "--project");
    if (!points.system)
        throw usage_error(fmt::format("{}: --project is for longitudes and latitudes, but {} and "
                                      "{} are planar already",
                                      source.file, points.x.name, points.y.name),
                          {"--project", source.file, 0, {}});
    std::vector<double> eastings(points.points.size());
    std::vector<double> northings(points.points.size());
    for (std::size_t i = 0; i < points.points.size(); ++i) {
        eastings[i] = points.points[i].d_x;
        northings[i] = points.points[i].d_y;
    }
    const bulk all = bulk_of(points.points);
    const coordinate_system plane =
        planar_system(to, *points.system, {all.median_x}, {all.median_y});
    transform(*points.system, *plane, eastings, northings);
    std::size_t kept = 0;
    record_numbers kept_records;
    auto record = points.records.begin();
    for (std::size_t i = 0; i < points.points.size(); ++i, ++record) {
        t_icdata point = points.points[i];
        const bool is_lost = !std::isnan(point.d_x) && std::isnan(eastings[i]);
        if (is_lost && needs.position != need::taken) {
            drops.add("", "position_outside_plane", "the position has no place in ", plane->name(),
                      *record, points.x.name, fmt::format("{}, {}", point.d_x, point.d_y));
            continue;
        }
        point.d_x = eastings[i];
        point.d_y = northings[i];
        points.points[kept++] = point;
        kept_records.push_back(*record);
    }
    points.points.resize(kept);
    points.records = std::move(kept_records);
    points.system = plane;
    points.is_geographic = false;
    points.is_projected = true;
    points.x.unit = points.y.unit = plane->length_unit();
}

// A receiver that lost its fix leaves a row at 0, 0 or anywhere else.
void note_strays(lot& points, const table_source& source, const bulk& all) {
    constexpr std::size_t most_named = 3;
    if (all.strays.empty()) return;
    std::string rows;
    for (std::size_t k = 0; k < std::min(all.strays.size(), most_named); ++k) {
        const t_icdata& point = points.points[all.strays[k]];
        rows += fmt::format("{}{} ({}, {})", k == 0 ? "" : ", ",
                            source.place(points.records[all.strays[k]]), number_text(point.d_x),
                            number_text(point.d_y));
    }
    if (all.strays.size() > most_named) rows += ", …";
    points.notes.push_back(
        fmt::format("{} row{} far from all others: {}; they count unless --where leaves them out",
                    all.strays.size(), all.strays.size() == 1 ? " lies" : "s lie", rows));
}

} // namespace

void settle_positions(lot& points, const table_source& source, const reading_options& options,
                      const reading_needs& needs, drop_counter& drops) {
    if (!options.crs.empty()) take_named_system(points, source, options.crs);
    const bool has_any = needs.position != need::unused && points.has_positions();
    const bulk all = has_any ? bulk_of(points.points) : bulk{};
    if (has_any && !points.system && !points.is_geographic && look_like_degrees(all)) {
        points.is_geographic = true;
        points.x.unit = points.y.unit = "deg";
        points.notes.push_back(fmt::format(
            "{} and {} lie within a fraction of a unit and the range of degrees: they are taken "
            "as longitude and latitude; name another system with --crs",
            points.x.name, points.y.name));
    }
    if (has_any) note_strays(points, source, all);
    if (!points.system && points.is_geographic) points.system = wgs84();
    if (!options.project.empty()) project(points, source, options.project, needs, drops);
    if (!points.has_positions()) return;
    points.without_position =
        std::count_if(points.points.begin(), points.points.end(),
                      [](const t_icdata& point) { return std::isnan(point.d_x); });
}

} // namespace qmx_study
