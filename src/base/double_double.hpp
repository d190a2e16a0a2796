// Numbers carried in pairs of f64, about 31 digits: the rounding error of each step is kept in the
// lower half. Methods: exact sum after D. E. Knuth, "The Art of Computer Programming" 2 (1969); exact
// product by splitting both factors after T. J. Dekker, "A floating-point technique for extending the
// available precision" (1971).
//
// Only additions, multiplications, divisions and bit patterns are used, so that every processor gives
// the same bits. A fused multiply-add would be shorter, but not all run-time libraries round it right.
#pragma once

#include "base/base_types.hpp"

#include <bit>

namespace qmx {

struct double_double {
    f64 high = 0.0;
    f64 low = 0.0;
};

// a + b without error, barring overflow.
constexpr double_double exact_sum(f64 a, f64 b) {
    const f64 sum = a + b;
    const f64 b_part = sum - a;
    return {sum, (a - (sum - b_part)) + (b - b_part)};
}

// The upper 26 bits of a number, rounded; the rest then has no more than 26 either.
constexpr f64 upper_half(f64 a) {
    constexpr std::uint64_t half_unit = 0x4000000, kept = ~std::uint64_t{0x7ffffff};
    return std::bit_cast<f64>((std::bit_cast<std::uint64_t>(a) + half_unit) & kept);
}

// a * b without error where both factors are below 2^1023 in magnitude and the product is 0 or from
// 2^-968 to 2^1023: there it has the bits that a fused multiply-add would give. Below, the low half is
// off by at most 2^-1072; above, it may be a NaN or an infinity.
constexpr double_double exact_product(f64 a, f64 b) {
    const f64 product = a * b;
    const f64 a_high = upper_half(a), b_high = upper_half(b);
    const f64 a_low = a - a_high, b_low = b - b_high;
    return {product,
            ((a_high * b_high - product) + a_high * b_low + a_low * b_high) + a_low * b_low};
}

constexpr double_double operator-(double_double a) {
    return {-a.high, -a.low};
}

constexpr double_double operator+(double_double a, double_double b) {
    const double_double high = exact_sum(a.high, b.high);
    const double_double low = exact_sum(a.low, b.low);
    const double_double partial = exact_sum(high.high, high.low + low.high);
    return exact_sum(partial.high, partial.low + low.low);
}

constexpr double_double operator-(double_double a, double_double b) {
    return a + -b;
}

constexpr double_double operator*(double_double a, double_double b) {
    const double_double product = exact_product(a.high, b.high);
    return exact_sum(product.high, product.low + (a.high * b.low + a.low * b.high));
}

constexpr double_double operator/(double_double a, double_double b) {
    const f64 quotient = a.high / b.high;
    const double_double rest = a - double_double{quotient} * b;
    return exact_sum(quotient, rest.high / b.high);
}

} // namespace qmx
