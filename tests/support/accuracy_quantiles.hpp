// Errors of quantiles and of the incomplete beta ratio against Boost.Math, and the arguments to try
// them at. A quantile is judged by the probability that Boost finds at it, turned into an error of
// the quantile by the density there; so no other solver's tolerance is counted as ours.
#pragma once

#include "support/test.hpp"

#include <boost/math/special_functions/beta.hpp>
#include <boost/math/special_functions/erf.hpp>
#include <boost/math/special_functions/gamma.hpp>
#include <boost/multiprecision/cpp_bin_float.hpp>

namespace support {

using fifty_digits = boost::multiprecision::cpp_bin_float_50;

// ---- Relative errors, by (probability found - wanted) / (variable * density) --------------------

inline double student_error(double t, double p, double df) {
    const fifty_digits square = fifty_digits(t) * t;
    const fifty_digits whole = df + square;
    const fifty_digits a = fifty_digits(df) / 2;
    const fifty_digits half(0.5);
    const fifty_digits stretch = square * df / (whole * whole);
    if (square < 3) {
        const fifty_digits y = square / whole;
        const fifty_digits miss = boost::math::ibeta(half, a, y) / 2 - abs(fifty_digits(p) - half);
        return static_cast<double>(miss / (boost::math::ibeta_derivative(half, a, y) * stretch));
    }
    const fifty_digits x = df / whole;
    const fifty_digits tail = p < 0.5 ? fifty_digits(p) : 1 - fifty_digits(p);
    const fifty_digits miss = tail - boost::math::ibeta(a, half, x) / 2;
    return static_cast<double>(miss / (boost::math::ibeta_derivative(a, half, x) * stretch));
}

inline double chi_squared_error(double x, double p, double df) {
    const fifty_digits a = fifty_digits(df) / 2;
    const fifty_digits u = fifty_digits(x) / 2;
    const fifty_digits miss = p <= 0.5
                                  ? fifty_digits(boost::math::gamma_p(a, u) - p)
                                  : fifty_digits(1 - fifty_digits(p) - boost::math::gamma_q(a, u));
    return static_cast<double>(miss / (boost::math::gamma_p_derivative(a, u) * u));
}

// Of y as the inverse of erfc at 0 < x < 2.
inline double inverse_erfc_error(long double y, double x) {
    const long double z = std::fabs(y);
    const long double slope = 2 * z * std::exp(-z * z) / std::sqrt(std::acos(-1.0L));
    const double tail = x < 1.0 ? x : 2.0 - x;
    const long double miss = tail > 0.5
                                 ? boost::math::erf(z) - (1.0L - static_cast<long double>(tail))
                                 : tail - boost::math::erfc(z);
    return static_cast<double>(miss / slope);
}

inline double normal_error(double x, double p) {
    return inverse_erfc_error(static_cast<long double>(x) / std::sqrt(2.0L), 2.0 * p);
}

inline double beta_error(double value, double x, double a, double b) {
    const fifty_digits truth =
        boost::math::ibeta(fifty_digits(a), fifty_digits(b), fifty_digits(x));
    return static_cast<double>((value - truth) / truth);
}

// A relative error of a value in units of its last place.
template <class Real> double in_last_places(double relative_error, Real value) {
    const Real size = std::fabs(value);
    const Real above = std::nextafter(size, std::numeric_limits<Real>::infinity());
    return relative_error * (static_cast<double>(size) / static_cast<double>(above - size));
}

// ---- Arguments ----------------------------------------------------------------------------------

// Probabilities of both tails, the usual levels, and the places where a method hands over.
inline std::vector<double> probabilities() {
    std::vector<double> list = {0x1p-1074, 1e-310, 1e-290, 1e-200, 1e-100,    1e-50,
                                1e-30,     1e-20,  1e-12,  1e-8,   1e-6,      1e-4,
                                0.001,     0.005,  0.01,   0.025,  0.0499,    0.05,
                                0.0501,    0.1,    0.2,    0.2499, 0.25,      0.3,
                                0.4,       0.45,   0.499,  0.4999, 0.4999999, 0.49999999999999994};
    for (std::size_t i = list.size(); i-- > 0;)
        if (1.0 - list[i] < 1.0 && 1.0 - list[i] > 0.5) list.push_back(1.0 - list[i]);
    list.push_back(1.0 - 0x1p-53);
    return list;
}

inline constexpr double degrees_of_freedom[] = {1,    1.25,    2,   2.999, 3,       4.5, 9.99,
                                                10,   29.5,    100, 399,   400.5,   402, 1000,
                                                3000, 12345.6, 1e5, 1e6,   9999999, 1e7};

class random_arguments {
public:
    double uniform(double low, double high) {
        return std::uniform_real_distribution<double>(low, high)(engine_);
    }
    double log_uniform(double low, double high) {
        return std::exp(uniform(std::log(low), std::log(high)));
    }
    // By turns: all f32 below 1 with equal weight, even over (0, 1), and close to 1.
    float probability() {
        switch (turn_++ % 3) {
        case 0:
            return std::bit_cast<float>(
                std::uniform_int_distribution<std::int32_t>(1, 0x3f7fffff)(engine_));
        case 1: return static_cast<float>(uniform(1e-6, 0.999999));
        default: return 1.0F - static_cast<float>(log_uniform(0x1p-24, 0.5));
        }
    }

private:
    std::mt19937_64 engine_{20240229};
    int turn_ = 0;
};

} // namespace support
