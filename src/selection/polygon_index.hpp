// An index that answers for many points what POLYGON_CONTAINS_POINT_2D answers for one, without
// looking at every edge: for each point the very same answer.
#pragma once

#include "base/work_array.hpp"
#include "geometry/plan_geometry.hpp"
#include "selection/point_selection.hpp"
#include "selection/raster_axis.hpp"

#include <cstdint>

namespace qmx {

// A raster over the outline, its columns fitted anew to the outline in each row, so that a long
// slanting strip is resolved as well as a square (edges on a uniform grid: Akman, Franklin,
// Kankanhalli, Narayanaswami 1989). A cell knows whether its points are inside, but for the edges
// that it lists: those which may cross on either side of one of its points.
//
// Why it is exact. Of an edge that straddles py one end lies below py and the other does not, so
// the answer for a point is the parity of the bits [y < py] of both ends of all edges that cross
// to the right of it.
//   - In each row an edge is cut to the row's ordinates. All roundings of the predicate are
//     monotone, so the crossings computed at the two ends of the cut bound those computed between
//     them: in the cells wholly on one side the answer is known, and no margin of error enters.
//   - The bit of an end that lies in another row is the same for all points of this one. An end in
//     this row belongs to two edges: its bits cancel where both are known to cross to the right,
//     and where only one is, the cell lists the end as a bit of its own.
// The index leans on the order of numbers alone, so that extreme coordinates cost time at worst.
// With a vertex that is not finite, or huge, each row is one cell.
//
// Points that follow each other on the ground are decided together, by the cells under the box about
// them; those of a group that the outline cuts are asked one by one.
struct polygon_index {
    raster_axis rows;
    work_array<raster_axis> columns;  // of each row
    i32 most_columns = 1;             // cells from one row to the next
    work_array<directed_edge> listed; // the edges of the outline, then the bit of each vertex
    work_array<std::uint8_t> cells;   // row by row, then one cell of points that are nowhere
    // Per cell, the last column of the like cells that begin there: one look tells of all.
    work_array<std::uint16_t> run_end;
    work_array<i32> first;   // cell c lists members[first[c]] to members[first[c+1]-1]
    work_array<i32> members; // positions in listed
};

// Whether an index for so many vertices and points costs less than it saves.
bool is_worth_an_index(i64 vertices, i64 points);

// Builds the index for about so many points. Its storage is linear in the vertices and the points,
// whatever the outline. Returns false when memory ran out.
bool build_polygon_index(const point_columns& vertices, i64 points, polygon_index& index);

inline constexpr i32 most_points_at_once = 512;

// Decides count points, at most most_points_at_once: a flag becomes 1 for inside, 0 for outside.
// Behind them stand so many points that will be asked next.
void mark_points_in_polygon(const polygon_index& index, const f64* x, const f64* y, i32 count,
                            i64 behind, std::uint8_t* flags);

} // namespace qmx
