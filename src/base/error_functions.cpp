// The error function and its complement.
//
// Up to 1/2 in magnitude: the power series. Beyond: the midpoint rule for
//   erfc(x) = (2 x / pi) e^(-x^2) * integral over t > 0 of e^(-t^2) / (t^2 + x^2),
// which at the step 3/8 is wrong by the residue of the pole at t = i x alone, and that is added (D. B.
// Hunter and T. Regan, "A note on the evaluation of the complementary error function", 1972). All terms
// are positive, so that nothing cancels.
#include "base/elementary_functions.hpp"
#include "base/elementary_kernels.hpp"

#include <cmath>

namespace qmx {
namespace {

constexpr f64 series_up_to = 0.5;
constexpr double_double two_over_root_of_pi{0x1.20dd750429b6dp+0, 0x1.1ae3a914fed80p-56};
constexpr f64 underflowing = 28.0; // from here on the complement is 0

// erf(x) for a magnitude up to 1/2.
double_double error_series(f64 x) {
    constexpr auto coefficients = [] {
        auto terms = inverse_factorials<16>();
        for (std::size_t n = 0; n < terms.size(); ++n) {
            const f64 sign = n % 2 == 0 ? 1.0 : -1.0;
            terms[n] = terms[n] / double_double{sign * (2.0 * static_cast<f64>(n) + 1.0)};
        }
        return terms;
    }();
    return two_over_root_of_pi * double_double{x} *
           polynomial_at(exact_product(x, x), coefficients);
}

struct midpoint {
    f64 square; // of the point, exactly
    double_double weight;
};

constexpr f64 step = 0.375;

// The weight e^(-t^2) as the 64th power of its 64th root, which the series gives.
constexpr auto midpoints = [] {
    constexpr auto coefficients = inverse_factorials<28>();
    std::array<midpoint, 19> points{};
    for (std::size_t n = 0; n < points.size(); ++n) {
        const f64 t = (static_cast<f64>(n) + 0.5) * step;
        double_double weight = polynomial_at(double_double{-t * t / 64}, coefficients);
        for (i32 doubling = 0; doubling < 6; ++doubling) weight = weight * weight;
        points[n] = {t * t, weight};
    }
    return points;
}();

// erfc(x) for 1/2 <= x < 28.
scaled_pair complement_beyond(f64 x) {
    constexpr double_double inverse_of_pi{0x1.45f306dc9c883p-2, -0x1.6b01ec5417056p-56};
    constexpr f64 two_pi_over_step = 16.755160819145562;
    constexpr f64 poles_matter_up_to = 8.5;
    constexpr std::size_t near_points = 7;
    const double_double square = exact_product(x, x);
    f64 far = 0.0; // a share of 2^-12 of the sum, for which f64 is enough
    for (std::size_t n = midpoints.size() - 1; n >= near_points; --n)
        far += midpoints[n].weight.high / (midpoints[n].square + square.high);
    double_double sum{far};
    for (std::size_t n = 0; n < near_points; ++n)
        sum = sum + midpoints[n].weight / (double_double{midpoints[n].square} + square);
    scaled_pair result = exponential_of<kernel_digits::usual>(-square);
    result.value = result.value * exact_product(2.0 * step, x) * inverse_of_pi * sum;
    if (x < poles_matter_up_to) {
        const f64 residue = 2.0 / (1.0 + exponential(two_pi_over_step * x));
        result.value = result.value + double_double{std::ldexp(residue, -result.exponent)};
    }
    return result;
}

double_double unscaled(const scaled_pair& x) {
    return {std::ldexp(x.value.high, x.exponent), std::ldexp(x.value.low, x.exponent)};
}

} // namespace

f64 error_function(f64 x) {
    constexpr f64 one_from = 6.0;
    if (std::isnan(x) || x == 0.0) return x;
    const f64 magnitude = std::fabs(x);
    if (magnitude < 0x1p-300) // the pairs would underflow
        return std::ldexp((two_over_root_of_pi * double_double{std::ldexp(x, 600)}).high, -600);
    if (magnitude <= series_up_to) return error_series(x).high;
    if (magnitude >= one_from) return std::copysign(1.0, x);
    return std::copysign((double_double{1.0} - unscaled(complement_beyond(magnitude))).high, x);
}

f64 complementary_error_function(f64 x) {
    constexpr f64 two_from = -6.0;
    if (std::isnan(x)) return x;
    if (x >= underflowing) return 0.0;
    if (x <= two_from) return 2.0;
    if (std::fabs(x) <= series_up_to) return (double_double{1.0} - error_series(x)).high;
    if (x < 0.0) return (double_double{2.0} - unscaled(complement_beyond(-x))).high;
    return rounded_f64(complement_beyond(x));
}

} // namespace qmx
