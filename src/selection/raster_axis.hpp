// One axis of the raster over a polygon: which strip a coordinate falls into.
#pragma once

#include "base/base_types.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

namespace qmx {

inline constexpr f64 infinity = std::numeric_limits<f64>::infinity();

// Equal strips numbered from 0; the first and the last reach to infinity.
struct raster_axis {
    f64 low = 0.0;   // the upper limit of strip 0, less one width
    f64 high = 0.0;  // a coordinate within the last strip
    f64 scale = 0.0; // strips per unit of length, 1 / width; 0 for a single strip
    f64 width = 0.0;
    i32 strips = 1;

    // Monotone in the coordinate, since each rounding is. A NaN falls into strip 0.
    i32 strip_of(f64 coordinate) const {
        const f64 within = std::min(high, std::max(low, coordinate));
        return static_cast<i32>((within - low) * scale);
    }
};

// The limits of a strip are widened by this part of its width.
inline constexpr f64 overlap = 0x1p-10;

// Every coordinate in the strip lies above its lower limit and below its upper one. Each limit is
// checked with strip_of: where the strips are too narrow for the spacing of f64, it is infinite.
inline f64 lower_limit(const raster_axis& axis, i32 strip) {
    const f64 limit = axis.low + (strip - overlap) * axis.width;
    return axis.strip_of(limit) < strip ? limit : -infinity;
}
inline f64 upper_limit(const raster_axis& axis, i32 strip) {
    const f64 limit = axis.low + (strip + 1 + overlap) * axis.width;
    return axis.strip_of(limit) > strip ? limit : infinity;
}

// Divides a range into strips; the first and the last hold what lies outside it. A range that
// cannot be divided gives a single strip.
inline raster_axis divided(f64 low, f64 high, i64 strips) {
    const f64 count = static_cast<f64>(strips);
    const f64 width = (high - low) / (count - 2 - 4 * overlap);
    if (strips < 3 || !std::isnormal(width) || !std::isnormal(1.0 / width)) return {};
    raster_axis axis;
    axis.low = low - (1 + 2 * overlap) * width;
    axis.high = axis.low + (count - 0.5) * width;
    axis.scale = 1.0 / width;
    axis.width = width;
    axis.strips = static_cast<i32>(strips);
    if (!std::isfinite(axis.high - axis.low)) return {};
    return axis.strip_of(axis.high) == strips - 1 ? axis : raster_axis{};
}

} // namespace qmx
