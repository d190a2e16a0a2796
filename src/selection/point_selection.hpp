// The points in a circle or a polygon: the drivers of find_points_in_circle and
// find_points_in_polygon. Long lists are classified in groups (point_group), polygons with many
// vertices through a raster (polygon_index).
#pragma once

#include "base/array_view.hpp"

namespace qmx {

// Points or vertices in two parallel columns. A count of 0 or less is none.
struct point_columns {
    const f64* x = nullptr;
    const f64* y = nullptr;
    i64 count = 0;
};

// Write the ZERO-based positions of the selected points to indices, ascending, and their number to
// count. indices has room for all points; entries past count are left alone.
// CIRCLE_CONTAINS_POINT_2D and POLYGON_CONTAINS_POINT_2D decide which points are selected, those on
// the boundary included; no input is rejected.
//
// Return 1, or 3: with the routine's name added to the path if a failure stood before the call
// (only the first point is then tested), or with an event of its own if memory for the index of a
// polygon could not be allocated. The circle allocates nothing.
//
// Cost: for the circle one pass at the speed of memory. For a polygon, however many vertices it
// has, a few edges for a point near the boundary, and next to nothing for successive points far
// from it.
i32 icd_points_in_circle(const f64* center, const f64& radius, const point_columns& points,
                         i32& count, const array_view<i32>& indices);
i32 icd_points_in_polygon(const point_columns& vertices, const point_columns& points, i32& count,
                          const array_view<i32>& indices);

} // namespace qmx
