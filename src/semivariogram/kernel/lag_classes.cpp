#include "semivariogram/kernel/lag_classes.hpp"

#include <algorithm>
#include <bit>
#include <cmath>

namespace qmx {

namespace {

constexpr f32 infinity = std::numeric_limits<f32>::infinity();

f32 next_above(f32 value) {
    return std::nextafter(value, infinity);
}
f32 next_below(f32 value) {
    return std::nextafter(value, -infinity);
}

f32 centre_of(const lag_classes& classes, i32 k) {
    return classes.xlag * static_cast<f32>(k - 2);
}

// Whole lags from lastdist to h; the least integer if 32 bits do not hold them.
i32 whole_lags(f32 h, f32 lastdist, f32 xlag) {
    return truncated(std::floor((h - lastdist) / xlag));
}

// Whether the search for h starts at class k or below after every regular pair. The start grows with h
// and falls with lastdist: the least distance of each class decides.
bool starts_in_time(const lag_classes& classes, f32 h, i32 k) {
    for (i32 before = first_distance_class; before <= classes.last; ++before) {
        const f32 least = before == first_distance_class ? 0.0F : classes.lower[before];
        if (before + whole_lags(h, least, classes.xlag) > k) return false;
    }
    return true;
}

// The greatest distance of class k for which the search starts in time. It lies a few units in the last
// place below the upper limit, or some hundred for small distances and many classes.
f32 last_in_time(const lag_classes& classes, i32 k) {
    const auto upper = std::bit_cast<std::uint32_t>(classes.upper[k]);
    const auto in_time = [&](std::uint32_t below) {
        return starts_in_time(classes, std::bit_cast<f32>(upper - below), k);
    };
    std::uint32_t late = 0, early = 1; // units below the upper limit
    if (in_time(late)) return classes.upper[k];
    for (; early < 1U << 22 && !in_time(early); early *= 2) late = early;
    while (early - late > 1) {
        const std::uint32_t middle = late + (early - late) / 2;
        (in_time(middle) ? early : late) = middle;
    }
    return std::bit_cast<f32>(upper - early);
}

} // namespace

lag_classes make_lag_classes(i32 nlag, f32 xlag, f32 xltol) {
    lag_classes classes = {};
    if (xltol <= 0) xltol = xlag * 0.5F;
    classes.last = nlag + 2;
    classes.xlag = xlag;
    const f32 greatest = ((static_cast<f32>(nlag) + 0.5F) - epsilon_distance) * xlag;
    classes.dismxs = greatest * greatest;
    for (i32 k = first_distance_class; k <= classes.last; ++k) {
        const f32 centre = centre_of(classes, k);
        classes.lower[k] = centre - xltol;
        classes.upper[k] = centre + xltol;
    }
    return classes;
}

i32 find_lag_class(const lag_classes& classes, f32 h, const last_found& last) {
    const i32 start = last.lastlag + whole_lags(h, last.lastdist, classes.xlag);
    for (i32 k = std::max(start, first_distance_class); k <= classes.last; ++k)
        if (classes.lower[k] <= h && h <= classes.upper[k]) return k;
    return 0;
}

class_certainty certainty_of(const lag_classes& classes, f32 xltol) {
    const class_certainty none = {};
    class_certainty certainty = {};
    // Not near overflow or underflow, and neighbouring classes share a border.
    if (!(classes.xlag > 1.0e-12F && classes.xlag < 1.0e12F)) return none;
    if (xltol != classes.xlag * 0.5F) return none;

    // Class k is certain for distances from `low` to `high`. The nearest distances outside bound the
    // half width.
    f32 bound = classes.xlag;
    for (i32 k = first_distance_class; k <= classes.last; ++k) {
        const f32 high = last_in_time(classes, k);
        const f32 centre = centre_of(classes, k);
        bound = std::min(bound, next_above(high) - centre);
        certainty.greatest[k] = high;
        certainty.least[k] = next_above(epsilon_distance);
        if (k == first_distance_class) continue; // whose lower end is epsilon_distance
        const f32 low = std::max(classes.lower[k], next_above(classes.upper[k - 1]));
        certainty.least[k] = low;
        bound = std::min(bound, centre - next_below(low));
    }
    // The greatest distance must not seem to lie in a class past the last.
    bound = std::min(bound, centre_of(classes, classes.last + 1) - std::sqrt(classes.dismxs));
    const f32 half_width = next_below(bound);
    if (!(half_width > 0.25F * classes.xlag)) return none;

    // After a coincident pair class k is found only if the search for its least distance starts in time.
    i32 dead_from = first_distance_class + 1;
    for (; dead_from <= classes.last; ++dead_from) {
        bool dead = true;
        for (i32 k = first_distance_class; k <= classes.last; ++k) {
            const f32 least = std::max(classes.lower[k], epsilon_distance);
            if (dead_from + whole_lags(least, epsilon_distance, classes.xlag) <= k) dead = false;
        }
        if (dead) break;
    }
    certainty.usable = true;
    certainty.half_width = half_width;
    certainty.dead_from = dead_from;
    return certainty;
}

} // namespace qmx
