// Logarithms carried in pairs of f64, to 18 digits or more.
//
// A density far in its tail is exp of some -700, so an exponent good to half a unit of f64 alone
// would already spend 1e-13 of the result. The exponents of the distributions are therefore formed
// in pairs and rounded once. Method: the series of the inverse hyperbolic tangent.
#pragma once

#include "base/double_double.hpp"

#include <cmath>

namespace qmx::numeric {

// 1/3 + q/5 + q^2/7 + ..., for 0 <= q <= 1/9: what the inverse hyperbolic tangent of s has behind
// s, divided by s^3, at q = s^2.
inline f64 inverse_tangent_rest(f64 q) {
    const i32 last = q < 0.003 ? 6 : 17;
    f64 sum = 0.0;
    for (i32 k = last; k >= 0; --k) sum = sum * q + 1.0 / (2 * k + 3);
    return sum;
}

// log(1 + r) for -0.3 <= r <= 0.42, accurate also relative to a small r.
inline double_double log_near_one(double_double r) {
    const double_double s = r / (double_double{2.0} + r);
    const f64 cube = s.high * s.high * s.high;
    return double_double{2.0 * s.high, 2.0 * s.low} +
           double_double{2.0 * cube * inverse_tangent_rest(s.high * s.high)};
}

// log of a positive number.
inline double_double log_of(double_double value) {
    constexpr f64 root_of_half = 0.70710678118654752;
    constexpr double_double ln_2{0.6931471804855391, 7.440617110012397e-11}; // high part: 33 bits
    i32 exponent = 0;
    f64 fraction = std::frexp(value.high, &exponent);
    if (fraction < root_of_half) {
        fraction *= 2.0;
        --exponent;
    }
    const double_double offset = exact_sum(fraction - 1.0, std::ldexp(value.low, -exponent));
    return double_double{exponent * ln_2.high, exponent * ln_2.low} + log_near_one(offset);
}

inline double_double log_of(f64 value) {
    return log_of(double_double{value});
}

} // namespace qmx::numeric
