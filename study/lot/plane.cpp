#include "study/lot/plane.hpp"

#include <fmt/format.h>

#include "study/base/errors.hpp"

namespace qmx_study {

void refuse_degrees(const table_source& source, const lot& points) {
    if (!points.is_geographic) return;
    throw usage_error(
        fmt::format("{}: {} and {} are degrees, which are no planar unit; name a projection, say "
                    "--project utm or --project EPSG:26915, or planar columns with --x and --y",
                    source.file, points.x.name, points.y.name),
        {"--project", source.file, 0, points.x.name});
}

void refuse_mixed_units(const lot& points, const char* what) {
    if (points.x.unit == points.y.unit || points.x.unit.empty() || points.y.unit.empty()) return;
    throw usage_error(
        fmt::format("{} is in {} but {} in {}: {} takes both in one unit; name other columns with "
                    "--x and --y",
                    points.x.name, points.x.unit, points.y.name, points.y.unit, what),
        {"--x", {}, 0, points.x.name});
}

} // namespace qmx_study
