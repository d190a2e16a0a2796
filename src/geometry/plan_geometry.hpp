// Plan-view predicates. Pure functions; each rule is exact to the order of its arithmetic, because
// it settles the points on a boundary.
//
// A truth result is an i32: all bits set for true, 0 for false; callers test its lowest bit. Points
// and vertices are pairs x1, y1, x2, y2, ... of f64, all in one length unit. None of the routines
// fails, allocates or keeps anything between calls.
#pragma once

#include "base/base_types.hpp"

namespace qmx {

inline constexpr i32 truth_true = -1;
inline constexpr i32 truth_false = 0;

// Decides whether fatal-error texts of these routines are written, and to which output unit. Off:
// the routines that use the predicates set it so, and nothing turns it on.
extern bool geometry_messages;
extern i32 geometry_message_unit;

// With dx = p.x - c.x and dy = p.y - c.y: inside exactly when dx*dx + dy*dy <= r*r.
//   - A point on the rim is inside; the sign of r has no effect.
//   - With a NaN anywhere the point is outside.
void CIRCLE_CONTAINS_POINT_2D(const f64& r, const f64* c, const f64* p, i32& inside);

// Even-odd rule over the n edges of v, the last one closing the outline.
//   - An edge counts when it straddles p.y (half-open: one end below, the other at or above) and
//     crosses that line strictly to the right of p.
//   - Neither orientation nor a repeated vertex makes a difference.
//   - On the outline: inside on edges with the interior to the right or below, else outside.
//   - n below 1, or a NaN in p: outside.
void POLYGON_CONTAINS_POINT_2D(const i32& n, const f64* v, const f64* p, i32& inside);

// Half the sum of x(i) * (y(i+1) - y(i-1)) over the n vertices of v in their order, neighbours
// wrapping round (the shoelace formula in its three-point form). In the square of the length unit;
// positive for counter-clockwise outlines (x to the east, y to the north), negative for clockwise
// ones; 0 for n below 3.
void POLYGON_SIGNED_AREA_2D(const i32& n, const f64* v, f64& area);

// The remainder of i by j that is never negative, whatever the signs of both. For j = 0 a
// fatal-error text is due, and the result is i.
i32 I4_MODP(const i32& i, const i32& j);

// ---- The arithmetic of one point, for loops of their own ----------------------------------------

// The rule of CIRCLE_CONTAINS_POINT_2D. r_squared is r*r.
inline bool is_within_circle(f64 r_squared, f64 cx, f64 cy, f64 px, f64 py) {
    const f64 dx = px - cx;
    const f64 dy = py - cy;
    return dx * dx + dy * dy <= r_squared;
}

// An edge from (x, y) to (x + dx, end_y); dx and dy are the rounded differences of its ends.
struct directed_edge {
    f64 x, y, end_y;
    f64 dx, dy;
};

inline directed_edge edge_between(f64 xi, f64 yi, f64 xj, f64 yj) {
    return {xi, yi, yj, xj - xi, yj - yi};
}

// The abscissa, from the edge's start, at which the line of the edge passes the ordinate py. Each
// of its roundings is monotone in py, and so is the result.
inline f64 crossing_offset(const directed_edge& edge, f64 py) {
    return ((py - edge.y) * edge.dx) / edge.dy;
}

// The rule of POLYGON_CONTAINS_POINT_2D for one edge, which inverts the answer when both hold. A
// horizontal edge straddles nothing and must not be asked for its crossing.
inline bool straddles(const directed_edge& edge, f64 py) {
    return ((edge.y < py) & (py <= edge.end_y)) | ((py <= edge.y) & (edge.end_y < py));
}
inline bool crosses_right_of(const directed_edge& edge, f64 px, f64 py) {
    return (px - edge.x) - crossing_offset(edge, py) < 0.0;
}

} // namespace qmx
