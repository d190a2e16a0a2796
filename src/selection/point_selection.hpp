// Selection of points in a circle or a polygon.
#pragma once

#include "base/array_view.hpp"

namespace qmx {

// Points or vertices as the host keeps them: two parallel columns. A count of 0 or less is none.
struct point_columns {
    const f64* x = nullptr;
    const f64* y = nullptr;
    i64 count = 0;
};

// Writes the ZERO-based positions of the selected points to indices, ascending, and their number to
// count. indices has room for as many entries as there are points; those past count are left alone.
// Which points are selected is settled by CIRCLE_CONTAINS_POINT_2D and POLYGON_CONTAINS_POINT_2D,
// boundary included; no input is rejected.
//
// Return 1. Return 3 with the routine's name added to the path if a failure stood when the walk
// began (it then ends at its first point), and with an event of its own if memory for the index of
// a polygon could not be allocated; the circle allocates nothing.
//
// Cost: of the circle one pass at the speed of memory; of the polygon, for ordinary outlines, a few
// edges a point near the outline, however many vertices there are, and far from it next to nothing
// for points that lie in their order on the ground.
i32 icd_points_in_circle(const f64* center, const f64& radius, const point_columns& points,
                         i32& count, const array_view<i32>& indices);
i32 icd_points_in_polygon(const point_columns& vertices, const point_columns& points, i32& count,
                          const array_view<i32>& indices);

} // namespace qmx
