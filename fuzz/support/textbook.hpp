// Textbook formulas in 64-bit mantissas: the truth for results in 32 bits.
#pragma once

#include <cmath>
#include <limits>
#include <vector>

namespace fuzz {

using wide = long double;

inline wide magnitude(wide value) {
    return value < 0 ? -value : value;
}

// The spacing of f32 at a value.
inline wide spacing32(wide value) {
    const double near = static_cast<double>(magnitude(value));
    constexpr double least = 0x1p-149;
    if (!(near >= 0x1p-126)) return least;
    return std::ldexp(1.0, std::ilogb(near) - 23);
}

// Whether a result in 32 bits is that value to so many spacings, or beyond their range is infinite.
inline bool is_near32(float result, wide value, double spacings, wide slack = 0) {
    constexpr double most = 3.4028235677973366e38; // where rounding takes it to infinity
    const wide tolerance = spacings * spacing32(value) + slack;
    if (std::isinf(result)) return (result > 0 ? value : -value) + tolerance >= most;
    if (std::isnan(result)) return false;
    return magnitude(result - value) <= tolerance;
}

struct moments {
    std::size_t count = 0; // of numbers; a NaN is none
    bool are_finite = true;
    wide sum = 0, mean = 0;
    wide slack = 0;  // how far the mean may be off
    wide second = 0; // sum of squared deviations
};

inline moments moments_of(const std::vector<float>& values) {
    moments of;
    wide total = 0;
    for (const float value : values) {
        if (std::isnan(value)) continue;
        ++of.count;
        of.are_finite = of.are_finite && std::isfinite(value);
        if (!of.are_finite) continue;
        of.sum += value;
        total += std::fabs(value);
    }
    if (of.count == 0 || !of.are_finite) return of;
    const wide n = static_cast<double>(of.count);
    of.mean = of.sum / n;
    of.slack = total * 0x1p-60L;
    for (const float value : values) {
        if (std::isnan(value)) continue;
        const wide deviation = value - of.mean;
        of.second += deviation * deviation;
    }
    return of;
}

} // namespace fuzz
