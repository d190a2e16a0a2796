#include "base/elementary_functions.hpp"

#include "base/elementary_kernels.hpp"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace qmx {
namespace {

constexpr f64 infinity = std::numeric_limits<f64>::infinity();
constexpr f64 not_a_number = std::numeric_limits<f64>::quiet_NaN();
constexpr auto usual = kernel_digits::usual;
constexpr auto most = kernel_digits::most;

// From here on an f64 exponential is infinite, or 0; an f32 one is so long before.
constexpr f64 overflowing = 710.0, underflowing = -746.0;
// Of such arguments, functions that start like x are x.
constexpr f64 negligible = 0x1p-60;

bool is_whole(f64 y) {
    return std::floor(y) == y;
}

bool is_odd(f64 y) {
    return std::fabs(y) < 0x1p53 && is_whole(y) && std::floor(0.5 * y) != 0.5 * y;
}

// |x|^y to the stated digits, for a finite |x| > 0. A larger exponent changes nothing any more:
// the result is infinite or 0, or |x| is 1.
template <kernel_digits digits> double_double exponent_of_power(f64 magnitude, f64 y) {
    constexpr f64 largest = 0x1p66;
    return double_double{std::clamp(y, -largest, largest)} *
           logarithm_of<digits>(double_double{magnitude});
}

// The powers whose value follows from the operands alone; false where it has to be computed, which
// leaves a positive or whole case with a finite x other than 0.
template <class Real> bool settle_power(Real x, Real y, Real& result) {
    constexpr Real endless = std::numeric_limits<Real>::infinity();
    if (y == 0 || x == 1) {
        result = 1;
    } else if (std::isnan(x) || std::isnan(y)) {
        result = x + y;
    } else if (std::isinf(y)) {
        const Real magnitude = std::fabs(x);
        result = magnitude == 1 ? Real{1} : (magnitude > 1) == (y > 0) ? endless : Real{0};
    } else if (x == 0 || std::isinf(x)) {
        const Real magnitude = (x == 0) == (y > 0) ? Real{0} : endless;
        result = is_odd(y) ? std::copysign(magnitude, x) : magnitude;
    } else if (x < 0 && !is_whole(y)) {
        result = std::numeric_limits<Real>::quiet_NaN();
    } else {
        return false;
    }
    return true;
}

// Exponential of a pair as f32, or false where its digits do not settle the rounding.
bool settle_rounding(const scaled_pair& x, f32& rounded) {
    constexpr f64 doubt = 0x1p-58; // above the kernels' error, even times the largest exponent
    scaled_pair below = x, above = x;
    below.value.low -= doubt * x.value.high;
    above.value.low += doubt * x.value.high;
    rounded = rounded_f32(below);
    return rounded == rounded_f32(above);
}

// Rounds where all numbers within a share of the value round alike.
bool settle_rounding(f64 value, f64 doubt, f32& rounded) {
    constexpr f64 largest = std::numeric_limits<f32>::max();
    if (value >= largest) return false; // about to overflow
    rounded = static_cast<f32>(value - doubt * value);
    return rounded == static_cast<f32>(value + doubt * value);
}

// Where f32 results are infinite, or 0.
double_double bounded_exponent(double_double x) {
    constexpr f64 bound = 200.0;
    return std::fabs(x.high) < bound ? x : double_double{std::copysign(bound, x.high)};
}

// x^y as f32 for a positive x, in pairs.
f32 closely_rounded_power(f64 x, f64 y) {
    f32 result = 0.0F;
    if (settle_rounding(exponential_of<usual>(bounded_exponent(exponent_of_power<usual>(x, y))),
                        result))
        return result;
    // A power this near to a number of 25 bits, an f32 or halfway between two, is this number: the
    // squares, cubes, roots and so on that are.
    constexpr f64 nearness = 0x1p-85;
    constexpr f64 anchor =
        0x1.8p27; // added, it leaves 25 bits behind the point: value is 0.99 or more
    scaled_pair power = exponential_of<most>(bounded_exponent(exponent_of_power<most>(x, y)));
    const f64 short_number = (power.value.high + anchor) - anchor;
    const double_double missing = power.value - double_double{short_number};
    if (std::fabs(missing.high) < nearness) power.value = double_double{short_number};
    return rounded_f32(power);
}

} // namespace

f64 exponential(f64 x) {
    if (std::isnan(x)) return x;
    if (x > overflowing) return infinity;
    if (x < underflowing) return 0.0;
    return rounded_f64(exponential_of<usual>(double_double{x}));
}

f32 exponential(f32 x) {
    if (std::isnan(x)) return x;
    const double_double exponent = bounded_exponent(double_double{f64{x}});
    f32 result = 0.0F;
    if (settle_rounding(plain_exponential(exponent.high), 0x1p-49, result)) return result;
    return rounded_f32(exponential_of<usual>(exponent));
}

f64 exp_minus_1(f64 x) {
    constexpr f64 small = 0.0054; // below ln 2/128
    constexpr f64 all_lost = -80.0;
    if (std::isnan(x) || std::fabs(x) < negligible) return x;
    if (x > overflowing) return infinity;
    if (x < all_lost) return -1.0;
    if (std::fabs(x) < small) return small_exponential_of<usual>(double_double{x}).high;
    scaled_pair power = exponential_of<usual>(double_double{x});
    if (power.exponent < 100)
        power = {double_double{std::ldexp(power.value.high, power.exponent),
                               std::ldexp(power.value.low, power.exponent)} -
                     double_double{1.0},
                 0};
    return rounded_f64(power);
}

f64 logarithm(f64 x) {
    if (x == 0.0) return -infinity;
    if (std::isnan(x) || x == infinity) return x;
    if (x < 0.0) return not_a_number;
    return logarithm_of<usual>(double_double{x}).high;
}

f64 log_1p(f64 x) {
    if (x == -1.0) return -infinity;
    if (std::isnan(x) || x == infinity || std::fabs(x) < negligible) return x;
    if (x < -1.0) return not_a_number;
    return logarithm_of<usual>(exact_sum(1.0, x)).high;
}

f64 logarithm_10(f64 x) {
    constexpr double_double inverse_of_ln_10{0x1.bcb7b1526e50ep-2, 0x1.95355baaafad3p-57};
    if (x == 0.0) return -infinity;
    if (std::isnan(x) || x == infinity) return x;
    if (x < 0.0) return not_a_number;
    return (logarithm_of<usual>(double_double{x}) * inverse_of_ln_10).high;
}

f64 hypotenuse(f64 x, f64 y) {
    if (std::isinf(x) || std::isinf(y)) return infinity;
    if (std::isnan(x) || std::isnan(y)) return x + y;
    const f64 larger = std::max(std::fabs(x), std::fabs(y));
    const f64 smaller = std::min(std::fabs(x), std::fabs(y));
    if (smaller == 0.0) return larger;
    i32 exponent = 0, exponent_of_smaller = 0;
    const f64 a = std::frexp(larger, &exponent);
    std::frexp(smaller, &exponent_of_smaller);
    if (exponent - exponent_of_smaller > 60) return larger;
    const f64 b = std::ldexp(smaller, -exponent);
    const double_double square = exact_product(a, a) + exact_product(b, b);
    const f64 root = std::sqrt(square.high);
    const double_double missing = square - exact_product(root, root);
    return rounded_f64({exact_sum(root, 0.5 * missing.high / root), exponent});
}

f64 power(f64 x, f64 y) {
    constexpr f64 quickly_multiplied = 1024.0;
    f64 result = 0.0;
    if (settle_power(x, y, result)) return result;
    if (is_whole(y) && std::fabs(y) <= quickly_multiplied)
        return whole_power(x, static_cast<i32>(y));
    const double_double exponent = exponent_of_power<usual>(std::fabs(x), y);
    const f64 magnitude = exponent.high > overflowing ? infinity
                          : exponent.high < underflowing
                              ? 0.0
                              : rounded_f64(exponential_of<usual>(exponent));
    return x < 0.0 && is_odd(y) ? -magnitude : magnitude;
}

f32 power(f32 x, f32 y) {
    f32 result = 0.0F;
    if (settle_power(x, y, result)) return result;
    const f64 base = std::fabs(f64{x});
    const f64 about = bounded_exponent({y * plain_logarithm(base)}).high;
    if (!settle_rounding(plain_exponential(about), 0x1p-37, result))
        result = closely_rounded_power(base, y);
    return x < 0.0F && is_odd(y) ? -result : result;
}

f64 whole_power(f64 x, i32 k) {
    if (k == 0) return 1.0;
    if (!std::isfinite(x) || x == 0.0) {
        f64 result = 0.0;
        settle_power(x, static_cast<f64>(k), result);
        return result;
    }
    // Square and multiply, the powers of 2 kept apart. Without them, 64 factors stay in the range.
    constexpr i64 beyond_all = 4000, beyond_all_squares = i64{1} << 40;
    scaled_pair result{double_double{1.0}, 0};
    i32 shift = 0;
    double_double square{std::frexp(x, &shift)};
    i64 exponent = 0, square_exponent = shift, rest = std::abs(i64{k});
    const bool needs_scaling = rest > 64;
    for (;; square = square * square, square_exponent *= 2) {
        if (needs_scaling) {
            std::frexp(square.high, &shift);
            square = {std::ldexp(square.high, -shift), std::ldexp(square.low, -shift)};
            square_exponent =
                std::clamp(square_exponent + shift, -beyond_all_squares, beyond_all_squares);
        }
        if (rest % 2 != 0) {
            result.value = result.value * square;
            exponent += square_exponent;
        }
        rest /= 2;
        if (rest == 0) break;
    }
    if (k < 0) {
        result.value = double_double{1.0} / result.value;
        exponent = -exponent;
    }
    result.exponent = static_cast<i32>(std::clamp(exponent, -beyond_all, beyond_all));
    return rounded_f64(result);
}

whole_powers::whole_powers(f64 x) : factor_(x), is_plain_(!std::isfinite(x) || x == 0.0) {
    if (!is_plain_) factor_ = std::frexp(x, &exponent_);
}

f64 whole_powers::next() {
    constexpr f64 small = 0x1p-200;
    constexpr i64 beyond_all = 4000;
    if (is_plain_) {
        const f64 power = power_.high;
        power_.high *= factor_;
        return power;
    }
    const f64 power = rounded_f64(
        {power_, static_cast<i32>(std::clamp(power_exponent_, -beyond_all, beyond_all))});
    power_ = power_ * double_double{factor_};
    power_exponent_ += exponent_;
    if (std::fabs(power_.high) < small) {
        power_ = {power_.high / small, power_.low / small};
        power_exponent_ -= 200;
    }
    return power;
}

} // namespace qmx
