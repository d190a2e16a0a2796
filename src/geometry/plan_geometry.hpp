// Point in circle, point in polygon, signed area: what selection, spot tests and coverage measure
// with. Each rule fixes the order of its arithmetic, because rounding decides the points on a
// boundary.
//
// A truth result is an i32: all bits set for true, 0 for false; callers test its lowest bit. Points
// and vertices are pairs x1, y1, x2, y2, ... of f64, all in one unit of length. No routine fails,
// allocates or keeps anything between calls.
#pragma once

#include "base/base_types.hpp"

namespace qmx {

inline constexpr i32 truth_true = -1;
inline constexpr i32 truth_false = 0;

// Debug switch for the error text of I4_MODP, and the output unit it goes to. Off in production.
extern bool geometry_messages;
extern i32 geometry_message_unit;

// With dx = p.x - c.x and dy = p.y - c.y: inside exactly when dx*dx + dy*dy <= r*r.
//   - A point on the circle is inside; the sign of r has no effect.
//   - A NaN in any argument: outside.
void CIRCLE_CONTAINS_POINT_2D(const f64& r, const f64* c, const f64* p, i32& inside);

// Even-odd rule over the n edges of the ring v; the closing edge is implied.
//   - An edge counts when it straddles p.y (half-open: one end below, the other at or above) and
//     crosses that line strictly to the right of p.
//   - Orientation and repeated vertices make no difference.
//   - On a horizontal or vertical edge: inside where the interior lies to the right or below, else
//     outside. On a slanting edge the rounding of the crossing decides.
//   - n below 1, or a NaN in p: outside.
void POLYGON_CONTAINS_POINT_2D(const i32& n, const f64* v, const f64* p, i32& inside);

// Half the sum of x(i) * (y(i+1) - y(i-1)) over the n vertices of the ring v in their order (the
// shoelace formula in its three-point form), in the square of the unit of length. Positive for
// counter-clockwise rings (x to the east, y to the north), negative for clockwise ones; 0 for n
// below 3.
void POLYGON_SIGNED_AREA_2D(const i32& n, const f64* v, f64& area);

// The non-negative remainder of i by j, for any signs. For j = 0 the result is i, with an error
// text where geometry_messages is on.
i32 I4_MODP(const i32& i, const i32& j);

// ---- The same rules for one point or edge, for callers with loops of their own ------------------

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

// The abscissa, from the start of the edge, at which the line of the edge crosses the ordinate py.
// Each rounding is monotone in py, and so is the result.
inline f64 crossing_offset(const directed_edge& edge, f64 py) {
    return ((py - edge.y) * edge.dx) / edge.dy;
}

// The rule of POLYGON_CONTAINS_POINT_2D for one edge: the answer is inverted where both hold. A
// horizontal edge straddles nothing; its crossing is not defined.
inline bool straddles(const directed_edge& edge, f64 py) {
    return ((edge.y < py) & (py <= edge.end_y)) | ((py <= edge.y) & (edge.end_y < py));
}
inline bool crosses_right_of(const directed_edge& edge, f64 px, f64 py) {
    return (px - edge.x) - crossing_offset(edge, py) < 0.0;
}

} // namespace qmx
