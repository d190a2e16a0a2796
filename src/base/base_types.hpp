// The number widths of the whole library, and the two values that every routine returns.
#pragma once

#include <cstdint>
#include <limits>

namespace qmx {

using i32 = std::int32_t;
using i64 = std::int64_t;
using f32 = float;
using f64 = double;

static_assert(std::numeric_limits<f32>::is_iec559 && std::numeric_limits<f64>::is_iec559);

inline constexpr i32 status_success = 1;
inline constexpr i32 status_failure = 3;

inline constexpr i32 flag_yes = 1;

// Truncates toward zero. A value that a 32-bit integer cannot hold (a NaN, an infinity, anything
// out of range) becomes the smallest integer, so that the result is the same on every processor.
template <class Real> constexpr i32 truncated(Real value) {
    constexpr Real limit = 2147483648.0;
    const bool fits = value > -limit && value < limit;
    return fits ? static_cast<i32>(value) : std::numeric_limits<i32>::min();
}

} // namespace qmx
