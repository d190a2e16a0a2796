#include "base/elementary_kernels.hpp"

#include <cmath>
#include <cstdlib>

namespace qmx {
namespace {

// ln 2 in two pieces: a multiple of the first by a whole number of 21 bits is exact.
constexpr f64 ln_2_high = 0x1.62e42fee00000p-1;
constexpr double_double ln_2_rest{0x1.a39ef35793c76p-33, 0x1.cc01f97b57a08p-87};

constexpr i32 exponential_steps = 64;             // table places between two powers of 2
constexpr i32 logarithm_steps = 128;              // table places between 1 and 2
constexpr i32 first_place = 90, last_place = 182; // from the root of 1/2 to that of 2
constexpr f64 root_of_half = 0x1.6a09e667f3bcdp-1;

// 2^(j/64), by the series of the exponential.
constexpr auto powers_of_2 = [] {
    constexpr auto coefficients = inverse_factorials<28>();
    constexpr double_double ln_2 = double_double{ln_2_high} + ln_2_rest;
    std::array<double_double, exponential_steps> table{};
    for (i32 j = 0; j < exponential_steps; ++j)
        table[static_cast<std::size_t>(j)] = polynomial_at(
            ln_2 * double_double{static_cast<f64>(j) / exponential_steps}, coefficients);
    return table;
}();

// A reciprocal of i/128 and the logarithm of this reciprocal with its sign turned.
struct logarithm_place {
    f64 reciprocal;
    double_double logarithm;
};

// -ln c = 2 artanh((1 - c)/(1 + c)) by its series
constexpr auto logarithm_places = [] {
    std::array<logarithm_place, last_place - first_place + 1> table{};
    for (i32 i = first_place; i <= last_place; ++i) {
        const f64 c = static_cast<f64>(logarithm_steps) / i;
        const double_double s = exact_sum(1.0, -c) / exact_sum(1.0, c);
        const double_double square = s * s;
        double_double sum{};
        for (i32 k = 24; k >= 0; --k)
            sum = sum * square + double_double{1.0} / double_double{2.0 * k + 1.0};
        table[static_cast<std::size_t>(i - first_place)] = {c, double_double{2.0} * s * sum};
    }
    return table;
}();

// The whole number nearest to x, for a magnitude below 2^51.
f64 nearest_whole(f64 x) {
    constexpr f64 anchor = 0x1.8p52;
    return (x + anchor) - anchor;
}

// The number with the lower half as a last bit: odd where something is left over. Rounding that to
// fewer bits gives what rounding the pair would.
f64 rounded_to_odd(double_double x) {
    if (x.low == 0.0 || x.high == 0.0) return x.high;
    auto bits = std::bit_cast<std::uint64_t>(x.high);
    if ((x.low > 0.0) != (x.high > 0.0)) --bits;
    return std::bit_cast<f64>(bits | 1);
}

// ln(1 + z) for -2^-7 < z < 2^-7.
template <kernel_digits digits> double_double logarithm_near_one(double_double z) {
    if constexpr (digits == kernel_digits::usual) {
        const f64 t = z.high;
        const f64 tail =
            t * t * t *
            (1.0 / 3 -
             t * (1.0 / 4 -
                  t * (1.0 / 5 -
                       t * (1.0 / 6 -
                            t * (1.0 / 7 -
                                 t * (1.0 / 8 - t * (1.0 / 9 - t * (1.0 / 10 - t / 11))))))));
        const double_double square = z * z;
        return z + double_double{-0.5 * square.high, -0.5 * square.low} + double_double{tail};
    } else {
        constexpr auto coefficients = [] {
            std::array<double_double, 8> odd{};
            for (std::size_t k = 0; k < odd.size(); ++k)
                odd[k] = double_double{2.0} / double_double{2.0 * static_cast<f64>(k) + 1.0};
            return odd;
        }();
        const double_double s = z / (double_double{2.0} + z);
        return s * polynomial_at(s * s, coefficients);
    }
}

// e^t - 1 - t for a small t.
f64 exponential_rest(f64 t) {
    return t * t *
           (1.0 / 2 +
            t * (1.0 / 6 + t * (1.0 / 24 + t * (1.0 / 120 + t * (1.0 / 720 + t * (1.0 / 5040))))));
}

// 2^exponent for -1022 <= exponent <= 1023.
f64 power_of_2(i32 exponent) {
    return std::bit_cast<f64>(static_cast<std::uint64_t>(exponent + 1023) << 52);
}

// x as a whole number of 64ths of ln 2 and the rest.
struct exponential_parts {
    std::size_t place;
    i32 exponent;
    f64 share; // of ln 2 taken away
};

exponential_parts parts_of(f64 x) {
    constexpr f64 steps_in_one = 0x1.71547652b82fep+6; // 64 / ln 2
    const f64 steps = nearest_whole(x * steps_in_one);
    const i32 whole = static_cast<i32>(steps);
    return {static_cast<std::size_t>(whole & (exponential_steps - 1)), whole >> 6,
            steps / exponential_steps};
}

} // namespace

template <kernel_digits digits> double_double small_exponential_of(double_double x) {
    if constexpr (digits == kernel_digits::usual) {
        return exact_sum(x.high, x.low + exponential_rest(x.high));
    } else {
        constexpr auto coefficients = [] {
            std::array<double_double, 12> shifted{};
            constexpr auto inverse = inverse_factorials<13>();
            for (std::size_t k = 0; k < shifted.size(); ++k) shifted[k] = inverse[k + 1];
            return shifted;
        }();
        return x * polynomial_at(x, coefficients);
    }
}

template <kernel_digits digits> scaled_pair exponential_of(double_double x) {
    const auto [place, exponent, share] = parts_of(x.high);
    const double_double power = powers_of_2[place];
    const f64 high = x.high - share * ln_2_high; // exact
    if constexpr (digits == kernel_digits::usual) {
        const double_double rest = exact_sum(high, x.low - share * ln_2_rest.high);
        const double_double product = exact_product(power.high, rest.high);
        const double_double sum = exact_sum(power.high, product.high);
        const f64 small = rest.low + exponential_rest(rest.high);
        return {exact_sum(sum.high, sum.low + (product.low + (power.low + power.low * rest.high +
                                                              power.high * small))),
                exponent};
    } else {
        const double_double rest =
            double_double{high} + double_double{x.low} - double_double{share} * ln_2_rest;
        return {power + power * small_exponential_of<digits>(rest), exponent};
    }
}

namespace {

// x as significand * 2^exponent, the significand between the roots of 1/2 and 2.
struct logarithm_parts {
    i32 exponent = 0;
    f64 significand;
    const logarithm_place* place;

    explicit logarithm_parts(f64 x) : significand(std::frexp(x, &exponent)) {
        if (significand < root_of_half) {
            significand *= 2.0;
            --exponent;
        }
        // NOLINTNEXTLINE(bugprone-incorrect-roundings): positive, and either neighbour of a tie serves
        const i32 nearest = static_cast<i32>(significand * logarithm_steps + 0.5);
        place = &logarithm_places[static_cast<std::size_t>(nearest - first_place)];
    }
};

} // namespace

template <kernel_digits digits> double_double logarithm_of(double_double x) {
    const logarithm_parts parts(x.high);
    const f64 reciprocal = parts.place->reciprocal, times = parts.exponent;
    const double_double product = exact_product(parts.significand, reciprocal);
    const f64 low = x.low == 0.0 ? 0.0 : std::ldexp(x.low, -parts.exponent) * reciprocal;
    const double_double offset = exact_sum(product.high - 1.0, product.low + low);
    return double_double{times * ln_2_high} + double_double{times} * ln_2_rest +
           parts.place->logarithm + logarithm_near_one<digits>(offset);
}

double_double log_1p_of(double_double x) {
    constexpr f64 small = 0x1p-8;
    return std::fabs(x.high) < small ? logarithm_near_one<kernel_digits::usual>(x)
                                     : log_of(double_double{1.0} + x);
}

f64 plain_exponential(f64 x) {
    const auto [place, exponent, share] = parts_of(x);
    const f64 rest = (x - share * ln_2_high) - share * ln_2_rest.high;
    const f64 power = powers_of_2[place].high;
    return (power + power * (rest + exponential_rest(rest))) * power_of_2(exponent);
}

f64 plain_logarithm(f64 x) {
    const logarithm_parts parts(x);
    const f64 t = parts.significand * parts.place->reciprocal - 1.0;
    const f64 rest =
        t * t *
        (-1.0 / 2 + t * (1.0 / 3 - t * (1.0 / 4 - t * (1.0 / 5 - t * (1.0 / 6 - t * (1.0 / 7))))));
    return parts.exponent * ln_2_high +
           (parts.place->logarithm.high + (t + (rest + parts.exponent * ln_2_rest.high)));
}

f64 rounded_f64(scaled_pair x) {
    const double_double value = exact_sum(x.value.high, x.value.low);
    if (std::abs(x.exponent) < 900) return value.high * power_of_2(x.exponent);
    constexpr i32 least_normal = -1022;
    const bool is_normal = std::ilogb(value.high) + x.exponent >= least_normal;
    return std::ldexp(is_normal ? value.high : rounded_to_odd(value), x.exponent);
}

f32 rounded_f32(scaled_pair x) {
    constexpr f64 halfway_to_overflow = 0x1.ffffffp127;
    const double_double value = exact_sum(x.value.high, x.value.low);
    const f64 scaled = rounded_to_odd(value) * power_of_2(x.exponent);
    if (std::fabs(scaled) >= halfway_to_overflow) {
        constexpr f32 infinity = std::numeric_limits<f32>::infinity();
        return scaled > 0.0 ? infinity : -infinity;
    }
    return static_cast<f32>(scaled);
}

template double_double small_exponential_of<kernel_digits::usual>(double_double);
template double_double small_exponential_of<kernel_digits::most>(double_double);
template scaled_pair exponential_of<kernel_digits::usual>(double_double);
template scaled_pair exponential_of<kernel_digits::most>(double_double);
template double_double logarithm_of<kernel_digits::usual>(double_double);
template double_double logarithm_of<kernel_digits::most>(double_double);

} // namespace qmx
