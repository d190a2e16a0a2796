// Random numbers and elementary functions that give the same bits on every machine.
//
// The random distributions of the standard library differ between its makers, and cosine, logarithm
// and exponential differ in the last place between mathematics libraries. What is here uses only
// integer arithmetic and the operations that IEEE 754 rounds exactly (+ - * / and square root), so
// that a seed means the same lot everywhere. Compile without contraction to fused multiply-add.
#pragma once

#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <numbers>

namespace qmx_study::portable {

namespace detail {

// sum of coefficients[k] * x^k
template <std::size_t Count>
constexpr double polynomial(const std::array<double, Count>& coefficients, double x) {
    double sum = 0;
    for (auto at = coefficients.rbegin(); at != coefficients.rend(); ++at) sum = sum * x + *at;
    return sum;
}

// Coefficients of the Taylor series sum of sign^k x^(2k) / (2k + Odd)!, up to x^16.
template <int Odd> constexpr std::array<double, 9> trigonometric_series() {
    std::array<double, 9> coefficients{};
    double term = 1;
    for (int k = 0; k < 9; ++k) {
        coefficients[static_cast<std::size_t>(k)] = term;
        term /= -1.0 * (2 * k + 1 + Odd) * (2 * k + 2 + Odd);
    }
    return coefficients;
}

} // namespace detail

// Cosine and sine of an angle in full turns, |turns| below 2^52. Absolute error below 1e-15;
// exact at quarter turns. Taylor series on the eighth of a turn next to 0.
inline double cosine_of_turns(double turns) {
    static constexpr auto cosine = detail::trigonometric_series<0>();
    static constexpr auto sine = detail::trigonometric_series<1>();
    const double folded = std::fabs(turns - std::floor(turns + 0.5)); // 0 to 1/2
    const bool second_quarter = folded > 0.25;
    const double quarter = second_quarter ? 0.5 - folded : folded; // 0 to 1/4
    const bool near_zero = quarter <= 0.125;
    const double angle = 2 * std::numbers::pi * (near_zero ? quarter : 0.25 - quarter);
    const double square = angle * angle;
    const double value =
        near_zero ? detail::polynomial(cosine, square) : angle * detail::polynomial(sine, square);
    return second_quarter ? -value : value;
}
inline double sine_of_turns(double turns) {
    return cosine_of_turns(turns - std::floor(turns) - 0.25);
}

// Natural logarithm of a positive normal number, relative error about 3e-16 away from 1:
// log(2^e m) = e log 2 + 2 atanh((m - 1) / (m + 1)) with m between the roots of 1/2 and 2.
inline double logarithm(double x) {
    static constexpr auto series = [] {
        std::array<double, 12> odd_reciprocals{};
        for (std::size_t k = 0; k < 12; ++k)
            odd_reciprocals[k] = 1.0 / static_cast<double>(2 * k + 1);
        return odd_reciprocals;
    }();
    const auto bits = std::bit_cast<std::uint64_t>(x);
    int exponent = static_cast<int>(bits >> 52 & 0x7ff) - 1023;
    double mantissa = std::bit_cast<double>((bits & 0xfffffffffffffULL) | 0x3ff0000000000000ULL);
    if (mantissa > std::numbers::sqrt2) {
        mantissa *= 0.5;
        ++exponent;
    }
    const double ratio = (mantissa - 1) / (mantissa + 1);
    return exponent * std::numbers::ln2 + 2 * ratio * detail::polynomial(series, ratio * ratio);
}

// Exponential of a number that is not positive; 0 below -700. Relative error below
// 4e-16 + 1e-14 |x|: halved until the Taylor series is short, then squared back.
inline double exponential_decay(double x) {
    if (x < -700) return 0;
    int halvings = 0;
    for (; x < -0.125; x *= 0.5) ++halvings;
    double term = 1, sum = 1;
    for (int k = 1; k <= 12; ++k) sum += term *= x / k;
    for (; halvings > 0; --halvings) sum *= sum;
    return sum;
}

// Angle of the direction (x, y) in turns, above -1/2 to 1/2, anticlockwise from the first axis; 0 where
// both are 0. Error below 1e-16 turns: the ratio is brought next to an eighth, whose arc tangent is
// known, and the rest is a short Taylor series.
inline double turns_of(double y, double x) {
    // Arc tangents of 0, 1/8, ..., 1, rounded from 30 digits.
    static constexpr std::array<double, 9> known{0,
                                                 0.12435499454676143503,
                                                 0.24497866312686415417,
                                                 0.35877067027057222040,
                                                 0.46364760900080611621,
                                                 0.55859931534356243597,
                                                 0.64350110879328438680,
                                                 0.71882999962162450542,
                                                 0.78539816339744830962};
    static constexpr auto series = [] {
        std::array<double, 8> alternating{};
        for (std::size_t k = 0; k < 8; ++k)
            alternating[k] = (k % 2 == 0 ? 1.0 : -1.0) / static_cast<double>(2 * k + 1);
        return alternating;
    }();
    const double across = std::fabs(y);
    const double along = std::fabs(x);
    const bool is_steep = across > along;
    const double ratio = is_steep ? along / across : along > 0 ? across / along : 0;
    const double eighths = std::floor(8 * ratio + 0.5);
    const double rest = (ratio - eighths / 8) / (1 + ratio * (eighths / 8));
    const double arc =
        known[static_cast<std::size_t>(eighths)] + rest * detail::polynomial(series, rest * rest);
    double turns = arc / (2 * std::numbers::pi);
    if (is_steep) turns = 0.25 - turns;
    if (x < 0) turns = 0.5 - turns;
    return y < 0 ? -turns : turns;
}

// Length of (x, y), within a unit in the last place and a half; neither overflows nor vanishes before
// its result does.
inline double length_of(double x, double y) {
    const double larger = std::fmax(std::fabs(x), std::fabs(y));
    if (larger > 1e-140 && larger < 1e140) return std::sqrt(x * x + y * y);
    if (!(larger > 0) || std::isinf(larger)) return larger;
    const double scale = larger > 1 ? 0x1p-600 : 0x1p600; // exact
    return std::sqrt(x * scale * (x * scale) + y * scale * (y * scale)) / scale;
}

// The power of ten, correctly rounded for exponents from -22 to 22.
inline double power_of_ten(int exponent) {
    double power = 1;
    for (int k = exponent < 0 ? -exponent : exponent; k > 0; --k) power *= 10;
    return exponent < 0 ? 1 / power : power;
}

// The greatest exponent whose power of ten is not above a positive number.
inline int decimal_exponent(double x) {
    int exponent = 0;
    while (exponent < 300 && power_of_ten(exponent + 1) <= x) ++exponent;
    while (exponent > -300 && power_of_ten(exponent) > x) --exponent;
    return exponent;
}

inline double decimal_logarithm(double x) {
    return logarithm(x) / std::numbers::ln10;
}

// Between a and b by the share t from 0 to 1: monotone in t, and exactly b at 1.
inline double between(double a, double b, double t) {
    if ((a <= 0 && b >= 0) || (a >= 0 && b <= 0)) return t * b + (1 - t) * a;
    if (t == 1) return b;
    const double at = a + t * (b - a);
    return (t > 1) == (b > a) ? std::fmax(b, at) : std::fmin(b, at);
}

// Random numbers by counter: number n of a stream is a function of seed, stream and n alone, so
// values do not depend on the order in which they are asked for.
// G. L. Steele, D. Lea, C. H. Flood: Fast splittable pseudorandom number generators (2014).
class random_stream {
public:
    random_stream(std::uint64_t seed, std::uint64_t stream)
        : key_(mixed(mixed(seed + step) ^ mixed(stream * step + 1))) {}

    std::uint64_t bits(std::uint64_t n) const { return mixed(key_ + (n + 1) * step); }

    // Uniform on the open interval from 0 to 1.
    double uniform(std::uint64_t n) const {
        return (static_cast<double>(bits(n) >> 12) + 0.5) * 0x1p-52;
    }

    // Standard normal. G. E. P. Box, M. E. Muller: A note on the generation of random normal
    // deviates (1958).
    double normal(std::uint64_t n) const {
        return std::sqrt(-2 * logarithm(uniform(2 * n))) * cosine_of_turns(uniform(2 * n + 1));
    }

private:
    static constexpr std::uint64_t step = 0x9e3779b97f4a7c15ULL; // 2^64 over the golden ratio
    static constexpr std::uint64_t mixed(std::uint64_t z) {
        z = (z ^ z >> 30) * 0xbf58476d1ce4e5b9ULL;
        z = (z ^ z >> 27) * 0x94d049bb133111ebULL;
        return z ^ z >> 31;
    }
    std::uint64_t key_;
};

} // namespace qmx_study::portable
