#include "selection/point_selection.hpp"

#include "events/event.hpp"
#include "geometry/plan_geometry.hpp"
#include "selection/point_group.hpp"
#include "selection/polygon_index.hpp"
#include "selection/selected_points.hpp"

#include <algorithm>

namespace qmx {

namespace {

static_assert(most_points_at_once % group_size == 0);

// Whether any, and whether all, points of a group are selected.
struct group_answer {
    bool any, all;
};

// Goes through the points in blocks: select(x, y, size, start, selected) appends those of a block,
// whose first point has position `start`.
//
// A failure is checked after each point. The predicates raise none, so only an event that stood
// before the call is found; it ends the loop after the first point.
template <class Select>
i32 select_points(const routine_text& self, const point_columns& points, i32& count,
                  const array_view<i32>& indices, Select select) {
    const bool failed = has_failed();
    const i64 last = failed ? std::min<i64>(points.count, 1) : points.count;
    const selected_points selected{count, indices};
    for (i64 start = 0; start < last; start += most_points_at_once) {
        const i32 size = static_cast<i32>(std::min<i64>(most_points_at_once, last - start));
        select(points.x + start, points.y + start, size, static_cast<i32>(start), selected);
    }
    return failed && last > 0 ? pass_up(self) : status_success;
}

struct circle {
    f64 x, y, r_squared;
};

// Whether any, and whether all, points of a group are in the circle. After a first point inside, mostly
// all are. After one outside, mostly all are too far to the east or west, and the ordinates are not
// read: the sum of the squares is no less than either of them.
group_answer answer_of(const circle& around, const f64* x, const f64* y) {
    using namespace lanes;
    const auto square = [](reals a) { return a * a; };
    const auto inside = [&](i32 i) {
        return square(load(x + i) - around.x) + square(load(y + i) - around.y) <= around.r_squared;
    };
    if (is_within_circle(around.r_squared, around.x, around.y, x[0], y[0])) {
        flags all = all_set;
        for (i32 i = 0; i < group_size; i += width) all &= inside(i);
        return {true, all_of(all)};
    }
    flags near = flags{};
    for (i32 i = 0; i < group_size; i += width)
        near |= square(load(x + i) - around.x) <= around.r_squared;
    if (!any_of(near)) return {false, false};
    flags any = flags{};
    for (i32 i = 0; i < group_size; i += width) any |= inside(i);
    return {any_of(any), false};
}

// Selects the points of a block that are in the circle.
void select_in_circle(const circle& around, const f64* x, const f64* y, i32 size, i32 start,
                      const selected_points& selected) {
    // Points in no order: groups straddle the boundary, so after two each point is tested alone.
    i32 patience = 2;
    for (i32 from = 0; from < size;) {
        const bool is_group = patience > 0 && from + group_size <= size;
        const group_answer answer =
            is_group ? answer_of(around, x + from, y + from) : group_answer{true, false};
        const i32 count = is_group ? group_size : size - from;
        if (answer.all) {
            selected.append_all(start + from, count);
        } else if (answer.any) {
            selected.append_some(start + from, count, [&](i32 i) {
                return is_within_circle(around.r_squared, around.x, around.y, x[from + i],
                                        y[from + i]);
            });
            --patience;
        }
        from += count;
    }
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
    count = 0;
    const circle around{center[0], center[1], radius * radius};
    return select_points(
        self, points, count, indices,
        [=](const f64* x, const f64* y, i32 size, i32 start, const selected_points& selected) {
            select_in_circle(around, x, y, size, start, selected);
        });
}

i32 icd_points_in_polygon(const point_columns& vertices, const point_columns& points, i32& count,
                          const array_view<i32>& indices) {
    static constexpr routine_text self("icd_points_in_polygon");
    count = 0;
    if (is_worth_an_index(vertices.count, points.count)) {
        polygon_index index;
        if (!build_polygon_index(vertices, points.count, index)) return fail_out_of_memory(self);
        return select_points(
            self, points, count, indices,
            [&](const f64* x, const f64* y, i32 size, i32 start, const selected_points& selected) {
                const i64 behind = points.x + points.count - (x + size);
                select_in_polygon(index, x, y, size, behind, start, selected);
            });
    }
    return select_points(
        self, points, count, indices,
        [&](const f64* x, const f64* y, i32 size, i32 start, const selected_points& selected) {
            selected.append_some(start, size,
                                 [&](i32 i) { return is_within_polygon(vertices, x[i], y[i]); });
        });
}

} // namespace qmx
