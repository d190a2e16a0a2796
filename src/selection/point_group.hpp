// Groups of points that follow each other in the list. Points follow the track of a roller, and most
// groups lie wholly on one side of an outline.
#pragma once

#include "selection/lanes.hpp"

namespace qmx {

inline constexpr i32 group_size = 64;

// The box about a group of points.
struct box {
    f64 x_low, x_high, y_low, y_high;
    bool is_finite; // all points are, and not huge
};

inline box box_about(const f64* x, const f64* y) {
    using namespace lanes;
    constexpr i32 chains = 2; // so that one need not wait for the other
    static_assert(group_size % (chains * width) == 0);
    reals x_low[chains], x_high[chains], y_low[chains], y_high[chains], sum[chains];
    for (i32 c = 0; c < chains; ++c) {
        x_low[c] = x_high[c] = load(x + c * width);
        y_low[c] = y_high[c] = load(y + c * width);
        sum[c] = reals{};
    }
    for (i32 i = 0; i < group_size; i += chains * width)
        for (i32 c = 0; c < chains; ++c) {
            const reals px = load(x + i + c * width), py = load(y + i + c * width);
            x_low[c] = lesser(px, x_low[c]);
            x_high[c] = greater(px, x_high[c]);
            y_low[c] = lesser(py, y_low[c]);
            y_high[c] = greater(py, y_high[c]);
            sum[c] += px + py;
        }
    // A number that is not finite leaves none in its sum. Huge ones may, and are asked one by one.
    const reals total = sum[0] + sum[1];
    const bool is_finite = all_of(total - total == reals{});
    return {least_of(lesser(x_low[0], x_low[1])), greatest_of(greater(x_high[0], x_high[1])),
            least_of(lesser(y_low[0], y_low[1])), greatest_of(greater(y_high[0], y_high[1])),
            is_finite};
}

} // namespace qmx
