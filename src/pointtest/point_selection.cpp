#include "pointtest/point_selection.hpp"

#include "frame/event.hpp"
#include "pointtest/plan_geometry.hpp"
#include "pointtest/polygon_index.hpp"

#include <algorithm>

namespace qmx {

namespace {

using flag = std::uint8_t; // 1 for a selected point, else 0

constexpr i32 block_size = most_points_at_once;

// Walks the points in blocks: mark(x, y, count, flags) decides a block, whose selected positions
// are then added to the list.
//
// A walk asks for a failure after each point. The tests raise none, so that only an event that
// stood before the walk can be found, and it ends the walk at its first point.
template <class Mark>
i32 select_points(const routine_text& self, const point_columns& points, i32& count,
                  const array_view<i32>& indices, Mark mark) {
    const bool failed = has_failed();
    const i64 last = failed ? std::min<i64>(points.count, 1) : points.count;
    flag flags[block_size];
    i32 selected[block_size];
    for (i64 start = 0; start < last; start += block_size) {
        const i32 size = static_cast<i32>(std::min<i64>(block_size, last - start));
        mark(points.x + start, points.y + start, size, flags);
        i32 found = 0;
        for (i32 i = 0; i < size; ++i) {
            selected[found] = static_cast<i32>(start) + i;
            found += flags[i];
        }
        for (i32 i = 0; i < found; ++i) indices(count + i + 1) = selected[i];
        count += found;
    }
    return failed && last > 0 ? pass_up(self) : status_success;
}

bool is_within_polygon(const point_columns& vertices, f64 px, f64 py) {
    bool inside = false;
    for (i64 k = 0; k < vertices.count; ++k) {
        const i64 next = k + 1 < vertices.count ? k + 1 : 0;
        const directed_edge edge =
            edge_between(vertices.x[k], vertices.y[k], vertices.x[next], vertices.y[next]);
        if (straddles(edge, py) && crosses_right_of(edge, px, py)) inside = !inside;
    }
    return inside;
}

} // namespace

i32 icd_points_in_circle(const f64* center, const f64& radius, const point_columns& points,
                         i32& count, const array_view<i32>& indices) {
    static constexpr routine_text self("icd_points_in_circle");
    geometry_messages = false;
    count = 0;
    const f64 cx = center[0], cy = center[1], r_squared = radius * radius;
    return select_points(self, points, count, indices,
                         [=](const f64* x, const f64* y, i32 size, flag* flags) {
                             for (i32 i = 0; i < size; ++i)
                                 flags[i] = is_within_circle(r_squared, cx, cy, x[i], y[i]);
                         });
}

i32 icd_points_in_polygon(const point_columns& vertices, const point_columns& points, i32& count,
                          const array_view<i32>& indices) {
    static constexpr routine_text self("icd_points_in_polygon");
    geometry_messages = false;
    count = 0;
    if (is_worth_an_index(vertices.count, points.count)) {
        polygon_index index;
        if (!build_polygon_index(vertices, points.count, index)) return fail_out_of_memory(self);
        return select_points(self, points, count, indices,
                             [&](const f64* x, const f64* y, i32 size, flag* flags) {
                                 mark_points_in_polygon(index, x, y, size, flags);
                             });
    }
    return select_points(self, points, count, indices,
                         [&](const f64* x, const f64* y, i32 size, flag* flags) {
                             for (i32 i = 0; i < size; ++i)
                                 flags[i] = is_within_polygon(vertices, x[i], y[i]);
                         });
}

} // namespace qmx
