// Classifies many points against one polygon without testing every edge, each exactly as
// POLYGON_CONTAINS_POINT_2D does. For find_points_in_polygon.
#pragma once

#include "base/work_array.hpp"
#include "geometry/plan_geometry.hpp"
#include "selection/point_selection.hpp"
#include "selection/raster_axis.hpp"
#include "selection/selected_points.hpp"

#include <cstdint>

namespace qmx {

// A raster over the polygon. Each row has columns of its own, fitted to the edges in it, so that a
// long slanting strip is resolved as well as a square (edges on a uniform grid: Akman, Franklin,
// Kankanhalli, Narayanaswami 1989). A cell stores the parity of the edges that cross to the right
// of all its points, and lists the edges that may cross on either side of one of them.
//
// Why it is exact. One end of an edge that straddles py lies below py and the other does not, so
// the answer for a point is the parity of [y < py] over both ends of all edges that cross to its
// right.
//   - In each row an edge is cut to the row's range of ordinates. All roundings of the predicate
//     are monotone, so the crossings at the two ends of the cut bound those between them: cells
//     wholly on one side need no test, and no error margin is needed.
//   - [y < py] of an end in another row is the same for all points of this row. An end in this row
//     belongs to two edges: its two terms cancel where both edges are known to cross to the right;
//     where only one is, the cell lists the vertex itself.
// Only the order of numbers is used, so extreme coordinates cost time at worst. If a vertex is huge
// or not finite, each row is one cell.
//
// A group of successive points is classified at once by the cells under its bounding box; the
// points of a group that straddles the boundary are tested one by one.
struct polygon_index {
    raster_axis rows;
    work_array<raster_axis> columns;  // of each row
    i32 most_columns = 1;             // cells from one row to the next
    work_array<directed_edge> listed; // the edges, then one pseudo-edge for each vertex
    work_array<std::uint8_t> cells;   // row by row, then one for points outside every cell
    // Per cell, the last column of the run of equal cells that begins there.
    work_array<std::uint16_t> run_end;
    work_array<i32> first;   // cell c lists members[first[c]] to members[first[c+1]-1]
    work_array<i32> members; // positions in listed
};

// Whether an index for so many vertices and points costs less than it saves.
bool is_worth_an_index(i64 vertices, i64 points);

// Builds the index for about so many points. Its storage is linear in the numbers of vertices and
// points, for any polygon. Returns false when memory ran out.
bool build_polygon_index(const point_columns& vertices, i64 points, polygon_index& index);

// Appends the points inside among `count` ones, at most most_points_at_once, the first of which has
// position `start`. `behind` more points follow them in memory, which are prefetched.
void select_in_polygon(const polygon_index& index, const f64* x, const f64* y, i32 count,
                       i64 behind, i32 start, const selected_points& selected);

} // namespace qmx
