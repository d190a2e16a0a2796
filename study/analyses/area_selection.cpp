#include "study/analyses/area_selection.hpp"

#include <algorithm>
#include <cmath>

#include <fmt/format.h>

#include "study/analyses/library_call.hpp"
#include "study/base/errors.hpp"
#include "study/lot/projection.hpp"

namespace qmx_study {

positions positions_of(const lot& points) {
    positions result;
    result.x.reserve(points.points.size());
    result.y.reserve(points.points.size());
    for (const t_icdata& point : points.points) {
        result.x.push_back(point.d_x);
        result.y.push_back(point.d_y);
    }
    return result;
}

std::string align(polygon_set& areas, const lot& points) {
    const auto each_outline = [&](auto&& change) {
        for (polygon& area : areas.polygons) {
            change(area.outer);
            for (outline& hole : area.holes) change(hole);
        }
    };
    if (areas.system && points.system) {
        if (areas.system->is_same_as(*points.system)) return {};
        each_outline([&](outline& ring) {
            transform(*areas.system, *points.system, ring.x, ring.y);
            if (std::any_of(ring.x.begin(), ring.x.end(), [](double x) { return std::isnan(x); }))
                throw usage_error(fmt::format("{}: a vertex has no place in {}", areas.file,
                                              points.system->name()));
        });
        return fmt::format("; brought to {}", points.system->name());
    }
    if (!areas.system && !points.system) return {};
    std::string assumed = "; taken to be in one system with the points";
    if (!areas.is_geographic) return assumed;
    // Many programs write planar coordinates into GeoJSON, which knows only degrees.
    bool in_degrees = true;
    each_outline([&](const outline& ring) {
        for (std::size_t i = 0; i < ring.x.size(); ++i)
            in_degrees &= std::fabs(ring.x[i]) <= 360 && std::fabs(ring.y[i]) <= 90;
    });
    if (in_degrees)
        throw usage_error(
            fmt::format("{}: the polygons are in degrees but {} and {} are planar "
                        "and name no coordinate system; "
                        "name that of the points with --crs, or give the polygons in it",
                        areas.file, points.x.name, points.y.name));
    return assumed;
}

std::vector<bool> points_inside(const polygon_set& areas, const std::vector<double>& x,
                                const std::vector<double>& y) {
    std::vector<bool> selected(x.size(), false);
    std::vector<bool> in_hole(x.size(), false);
    for (const polygon& area : areas.polygons) {
        std::vector<std::int32_t> in_holes;
        for (const outline& hole : area.holes)
            for (const std::int32_t index : points_in_outline(hole.x, hole.y, x, y)) {
                in_hole[static_cast<std::size_t>(index)] = true;
                in_holes.push_back(index);
            }
        for (const std::int32_t index : points_in_outline(area.outer.x, area.outer.y, x, y))
            if (!in_hole[static_cast<std::size_t>(index)])
                selected[static_cast<std::size_t>(index)] = true;
        for (const std::int32_t index : in_holes) in_hole[static_cast<std::size_t>(index)] = false;
    }
    return selected;
}

} // namespace qmx_study
