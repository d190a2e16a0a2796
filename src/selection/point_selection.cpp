#include "selection/point_selection.hpp"

#include "events/event.hpp"
#include "geometry/plan_geometry.hpp"
#include "selection/point_group.hpp"
#include "selection/polygon_index.hpp"

#include <algorithm>
#include <cstring>

namespace qmx {

namespace {

using flag = std::uint8_t; // 1 for a selected point, else 0

constexpr i32 block_size = most_points_at_once;
static_assert(block_size % group_size == 0);

// Whether any, and whether all, flags of a group are set.
struct group_answer {
    bool any, all;
};

group_answer answer_of(const flag* flags) {
    std::uint64_t words[group_size / 8];
    std::memcpy(words, flags, sizeof words);
    std::uint64_t any = 0, all = ~std::uint64_t{0};
    for (const std::uint64_t word : words) {
        any |= word;
        all &= word;
    }
    return {any != 0, all == 0x0101010101010101};
}

// Appends the positions of the set flags; the first flag has position `start`. Returns the new
// number of positions. Whole groups are often all inside or all outside.
i32 append_selected(const flag* flags, i32 size, i32 start, i32 found, i32* selected) {
    i32 from = 0;
    for (; from + group_size <= size; from += group_size) {
        const group_answer answer = answer_of(flags + from);
        if (!answer.any) continue;
        if (answer.all) {
            for (i32 i = 0; i < group_size; ++i) selected[found + i] = start + from + i;
            found += group_size;
        } else {
            for (i32 i = from; i < from + group_size; ++i) {
                selected[found] = start + i;
                found += flags[i];
            }
        }
    }
    for (i32 i = from; i < size; ++i) {
        selected[found] = start + i;
        found += flags[i];
    }
    return found;
}

// Goes through the points in blocks: select(x, y, size, start, selected) writes the positions of
// the selected points of a block, whose first point has position `start`, and returns their number.
//
// A failure is checked after each point. The predicates raise none, so only an event that stood
// before the call is found; it ends the loop after the first point.
template <class Select>
i32 select_points(const routine_text& self, const point_columns& points, i32& count,
                  const array_view<i32>& indices, Select select) {
    const bool failed = has_failed();
    const i64 last = failed ? std::min<i64>(points.count, 1) : points.count;
    i32 selected[block_size + 1];
    for (i64 start = 0; start < last; start += block_size) {
        const i32 size = static_cast<i32>(std::min<i64>(block_size, last - start));
        const i32 found =
            select(points.x + start, points.y + start, size, static_cast<i32>(start), selected);
        if (indices.is_contiguous())
            std::copy_n(selected, found, indices.base + count);
        else
            for (i32 i = 0; i < found; ++i) indices(count + i + 1) = selected[i];
        count += found;
    }
    return failed && last > 0 ? pass_up(self) : status_success;
}

// The same with mark(x, y, size, flags), which flags the points of a block.
template <class Mark>
i32 select_marked_points(const routine_text& self, const point_columns& points, i32& count,
                         const array_view<i32>& indices, Mark mark) {
    flag flags[block_size];
    return select_points(self, points, count, indices,
                         [&](const f64* x, const f64* y, i32 size, i32 start, i32* selected) {
                             mark(x, y, size, flags);
                             return append_selected(flags, size, start, 0, selected);
                         });
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
i32 select_in_circle(const circle& around, const f64* x, const f64* y, i32 size, i32 start,
                     i32* selected) {
    // Points in no order: groups straddle the boundary, so after two each point is tested alone.
    i32 patience = 2;
    i32 found = 0;
    for (i32 from = 0; from < size;) {
        const bool is_group = patience > 0 && from + group_size <= size;
        const group_answer answer =
            is_group ? answer_of(around, x + from, y + from) : group_answer{true, false};
        const i32 end = is_group ? from + group_size : size;
        if (answer.all) {
            for (i32 i = from; i < end; ++i) selected[found++] = start + i;
        } else if (answer.any) {
            for (i32 i = from; i < end; ++i) {
                selected[found] = start + i;
                found += is_within_circle(around.r_squared, around.x, around.y, x[i], y[i]);
            }
            --patience;
        }
        from = end;
    }
    return found;
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
    return select_points(self, points, count, indices,
                         [=](const f64* x, const f64* y, i32 size, i32 start, i32* selected) {
                             return select_in_circle(around, x, y, size, start, selected);
                         });
}

i32 icd_points_in_polygon(const point_columns& vertices, const point_columns& points, i32& count,
                          const array_view<i32>& indices) {
    static constexpr routine_text self("icd_points_in_polygon");
    count = 0;
    if (is_worth_an_index(vertices.count, points.count)) {
        polygon_index index;
        if (!build_polygon_index(vertices, points.count, index)) return fail_out_of_memory(self);
        return select_marked_points(self, points, count, indices,
                                    [&](const f64* x, const f64* y, i32 size, flag* flags) {
                                        const i64 behind = points.x + points.count - (x + size);
                                        mark_points_in_polygon(index, x, y, size, behind, flags);
                                    });
    }
    return select_marked_points(self, points, count, indices,
                                [&](const f64* x, const f64* y, i32 size, flag* flags) {
                                    for (i32 i = 0; i < size; ++i)
                                        flags[i] = is_within_polygon(vertices, x[i], y[i]);
                                });
}

} // namespace qmx
