// Exponential and logarithm of pairs of f64, before rounding: what the elementary functions and the
// distributions are made of.
#pragma once

#include "base/double_double.hpp"

#include <array>
#include <cstddef>

namespace qmx {

// How many digits a kernel gives: enough to round an f64 or f32 nearly always, or enough for the
// hardest f32 powers.
enum class kernel_digits { usual, most };

// value * 2^exponent, with value near 1.
struct scaled_pair {
    double_double value;
    i32 exponent = 0;
};

// e^x for -1e5 < x < 1e5; relative error 2^-66 (usual) or 2^-95 (most).
template <kernel_digits digits> scaled_pair exponential_of(double_double x);

// e^x - 1 for -ln 2/128 <= x <= ln 2/128, with an error relative to x of 2^-60 or 2^-95.
template <kernel_digits digits> double_double small_exponential_of(double_double x);

// ln x for a positive normal or subnormal x, accurate also relative to a small x - 1: 2^-68 or 2^-95.
template <kernel_digits digits> double_double logarithm_of(double_double x);
inline double_double log_of(double_double x) {
    return logarithm_of<kernel_digits::usual>(x);
}
inline double_double log_of(f64 x) {
    return log_of(double_double{x});
}

// ln(1 + x) for x > -1, with an error relative to x of 2^-66.
double_double log_1p_of(double_double x);

// Exponential and logarithm in f64 alone, for -700 < x < 700 and normal positive x: relative error 2^-50, and 2^-45.
f64 plain_exponential(f64 x);
f64 plain_logarithm(f64 x);

// Rounded to the nearest f64, for a value between 2^-100 and 2^100. Subnormal results are rounded a second time.
f64 rounded_f64(scaled_pair x);
// Rounded to the nearest f32, once, subnormal results included; |exponent| < 900.
f32 rounded_f32(scaled_pair x);

// c[0] + c[1] x + c[2] x^2 + ...
template <std::size_t terms>
constexpr double_double polynomial_at(double_double x, const std::array<double_double, terms>& c) {
    double_double sum = c[terms - 1];
    for (std::size_t k = terms - 1; k-- > 0;) sum = sum * x + c[k];
    return sum;
}

// 1/k! for k = 0 ... terms - 1; the factorials up to 22! are f64 numbers.
template <std::size_t terms> constexpr std::array<double_double, terms> inverse_factorials() {
    static_assert(terms <= 30);
    std::array<double_double, terms> inverse{};
    double_double factorial{1.0};
    for (std::size_t k = 0; k < terms; ++k) {
        if (k > 0) factorial = factorial * double_double{static_cast<f64>(k)};
        inverse[k] = double_double{1.0} / factorial;
    }
    return inverse;
}

} // namespace qmx
