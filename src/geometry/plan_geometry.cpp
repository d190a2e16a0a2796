#include "geometry/plan_geometry.hpp"

#include "events/unit_table.hpp"

namespace qmx {

namespace {

struct pair_of_coordinates {
    f64 x, y;
};

pair_of_coordinates vertex(const f64* v, i32 position) { // from 0
    const f64* const pair = v + 2 * static_cast<i64>(position);
    return {pair[0], pair[1]};
}

} // namespace

bool geometry_messages = false;
i32 geometry_message_unit = 0;

void CIRCLE_CONTAINS_POINT_2D(const f64& r, const f64* c, const f64* p, i32& inside) {
    inside = is_within_circle(r * r, c[0], c[1], p[0], p[1]) ? truth_true : truth_false;
}

void POLYGON_CONTAINS_POINT_2D(const i32& n, const f64* v, const f64* p, i32& inside) {
    inside = truth_false;
    if (n < 1) return;
    for (i32 i = 0; i < n; ++i) {
        const auto [xi, yi] = vertex(v, i);
        const auto [xj, yj] = vertex(v, i + 1 < n ? i + 1 : 0);
        const directed_edge edge = edge_between(xi, yi, xj, yj);
        if (straddles(edge, p[1]) && crosses_right_of(edge, p[0], p[1])) inside = ~inside;
    }
}

void POLYGON_SIGNED_AREA_2D(const i32& n, const f64* v, f64& area) {
    area = 0.0;
    if (n < 1) return;
    f64 sum = 0.0;
    for (i32 i = 0; i < n; ++i) {
        const i32 before = n > 1 ? I4_MODP(i - 1, n) : 0;
        const i32 after = n > 1 ? I4_MODP(i + 1, n) : 0;
        sum += vertex(v, i).x * (vertex(v, after).y - vertex(v, before).y);
    }
    area = 0.5 * sum;
}

i32 I4_MODP(const i32& i, const i32& j) {
    if (j == 0) {
        if (geometry_messages) {
            write_line(geometry_message_unit, "I4_MODP - Fatal error!");
            write_line(geometry_message_unit, "  I4_MODP ( I, J ) called with J = ", "0");
        }
        return i;
    }
    // In 64 bits neither the smallest i divided by -1 nor the magnitude of the smallest j
    // overflows.
    const i64 divisor = j < 0 ? -static_cast<i64>(j) : static_cast<i64>(j);
    const i64 remainder = static_cast<i64>(i) % divisor;
    return static_cast<i32>(remainder < 0 ? remainder + divisor : remainder);
}

} // namespace qmx
