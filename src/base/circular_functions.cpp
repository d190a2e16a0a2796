// Sine and cosine of f32 angles: the angle is taken apart into quarter turns by whole numbers, with as
// many digits of 2/pi as the largest f32 needs (M. H. Payne and R. N. Hanek, "Radian reduction for
// trigonometric functions", 1983), and the rest goes through the power series.
#include "base/elementary_functions.hpp"
#include "base/elementary_kernels.hpp"

#include <cmath>

namespace qmx {
namespace {

using u32 = std::uint32_t;
using u64 = std::uint64_t;

// An angle from -pi/4 to pi/4 and the number of quarter turns, modulo 4, that stand before it.
struct reduced_angle {
    double_double rest;
    u32 quarters = 0;
};

// 2/pi in words of 32 bits; the point stands behind the first.
constexpr std::array<u32, 11> two_over_pi = {0,          0xa2f9836e, 0x4e441529, 0xfc2757d1,
                                             0xf534ddc0, 0xdb629599, 0x3c439041, 0xfe5163ab,
                                             0xdebbc561, 0xb7246e3a, 0x424dd2e0};

reduced_angle reduced(f32 magnitude) {
    constexpr double_double half_pi{0x1.921fb54442d18p+0, 0x1.1a62633145c07p-54};
    if (f64{magnitude} < 0.5 * half_pi.high) return {double_double{f64{magnitude}}, 0};
    i32 exponent = 0;
    const u64 significand = static_cast<u64>(std::ldexp(std::frexp(magnitude, &exponent), 24));
    exponent -= 24;
    // The words before the first would count whole turns, those behind the last less than 2^-120.
    constexpr std::size_t words = 6;
    const auto first = static_cast<std::size_t>((exponent + 30) / 32);
    std::array<u64, words + 1> product{};
    u64 carry = 0;
    for (std::size_t j = words; j > 0; --j) {
        carry += significand * two_over_pi[first + j - 1];
        product[j] = carry & 0xffffffff;
        carry >>= 32;
    }
    // Shifted so that the uppermost two bits count the quarter turns.
    const auto shift = static_cast<u32>((exponent + 30) % 32);
    const auto shifted = [&](std::size_t j) {
        return static_cast<u32>((((product[j] << 32) | product[j + 1]) << shift) >> 32);
    };
    const u32 leading = shifted(1);
    const bool beyond_half = (leading & 0x20000000) != 0; // then the next quarter turn is nearer
    const f64 part = static_cast<f64>(leading & 0x3fffffff) - (beyond_half ? 0x1p30 : 0.0);
    const double_double turns = double_double{std::ldexp(part, -30)} +
                                double_double{std::ldexp(static_cast<f64>(shifted(2)), -62)} +
                                double_double{std::ldexp(static_cast<f64>(shifted(3)), -94)} +
                                double_double{std::ldexp(static_cast<f64>(shifted(4)), -126)};
    return {turns * half_pi, (leading >> 30) + (beyond_half ? 1U : 0U)};
}

// The series of the cosine (first = 0) or of sin(x)/x (first = 1), in x^2.
template <std::size_t first>
constexpr auto circular_series = [] {
    constexpr auto inverse = inverse_factorials<28>();
    std::array<double_double, 14> terms{};
    for (std::size_t k = 0; k < terms.size(); ++k)
        terms[k] = k % 2 == 0 ? inverse[2 * k + first] : -inverse[2 * k + first];
    return terms;
}();

// Sine of the angle and a number of quarter turns.
f32 sine_of(const reduced_angle& angle, u32 quarters) {
    const double_double square = angle.rest * angle.rest;
    const double_double value = quarters % 2 == 0
                                    ? angle.rest * polynomial_at(square, circular_series<1>)
                                    : polynomial_at(square, circular_series<0>);
    return rounded_f32({quarters % 4 < 2 ? value : -value, 0});
}

} // namespace

f32 sine(f32 x) {
    if (x == 0.0F || std::isnan(x)) return x;
    if (std::isinf(x)) return std::numeric_limits<f32>::quiet_NaN();
    const reduced_angle angle = reduced(std::fabs(x));
    return std::copysign(1.0F, x) * sine_of(angle, angle.quarters);
}

f32 cosine(f32 x) {
    if (std::isnan(x)) return x;
    if (std::isinf(x)) return std::numeric_limits<f32>::quiet_NaN();
    const reduced_angle angle = reduced(std::fabs(x));
    return sine_of(angle, angle.quarters + 1);
}

} // namespace qmx
