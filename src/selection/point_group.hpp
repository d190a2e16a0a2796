// Bounding boxes of groups of successive points. Points follow the track of a roller, so that most
// groups lie wholly inside or wholly outside a polygon and need one decision.
#pragma once

#include "selection/lanes.hpp"

namespace qmx {

inline constexpr i32 group_size = 64;

// The bounding box of a group of points.
struct box {
    f64 x_low, x_high, y_low, y_high;
    bool is_finite; // false if a coordinate is not finite, or huge
};

inline box bounding_box(const f64* x, const f64* y) {
    using namespace lanes;
    constexpr i32 chains = 2; // of independent comparisons
    static_assert(group_size % (chains * width) == 0);
    reals x_low[chains], x_high[chains], y_low[chains], y_high[chains], sum[chains];
    for (i64 c = 0; c < chains; ++c) {
        x_low[c] = x_high[c] = load(x + c * width);
        y_low[c] = y_high[c] = load(y + c * width);
        sum[c] = reals{};
    }
    for (i64 i = 0; i < group_size; i += i64{chains} * width)
        for (i64 c = 0; c < chains; ++c) {
            const reals px = load(x + i + c * width), py = load(y + i + c * width);
            x_low[c] = lesser(px, x_low[c]);
            x_high[c] = greater(px, x_high[c]);
            y_low[c] = lesser(py, y_low[c]);
            y_high[c] = greater(py, y_high[c]);
            sum[c] += px + py;
        }
    // The sum is finite only if all coordinates are. Huge ones may overflow it; then each point is
    // tested alone.
    const reals total = sum[0] + sum[1];
    const bool is_finite = all_of(total - total == reals{});
    return {least_of(lesser(x_low[0], x_low[1])), greatest_of(greater(x_high[0], x_high[1])),
            least_of(lesser(y_low[0], y_low[1])), greatest_of(greater(y_high[0], y_high[1])),
            is_finite};
}

} // namespace qmx
