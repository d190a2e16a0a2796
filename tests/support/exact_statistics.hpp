// Statistics in arithmetic wide enough to be exact where it matters: the truth for f32 results.
#pragma once

#include "support/test.hpp"

#include <boost/math/distributions/chi_squared.hpp>
#include <boost/math/distributions/students_t.hpp>
#include <boost/multiprecision/cpp_bin_float.hpp>

namespace support {

// Holds the sum of any 2^31 f32 values without rounding.
using wide = boost::multiprecision::number<
    boost::multiprecision::cpp_bin_float<640, boost::multiprecision::digit_base_2>,
    boost::multiprecision::et_off>;

struct exact_statistics {
    wide row[15];
};

// From n observations (or weights), their mean and the sums of powers of deviations from it.
inline exact_statistics statistics_of(const wide& n, const wide& mean, const wide& second,
                                      const wide& third, const wide& fourth, float lowest,
                                      float highest, double percent = 95.0) {
    const wide freedom = n - 1;
    const wide variance = second / freedom;
    const wide deviation = sqrt(variance);
    const wide sigma = sqrt(wide(second / n));
    const auto degrees = static_cast<long double>(freedom);
    const long double tail = (1.0L - static_cast<long double>(percent) / 100.0L) / 2.0L;
    const boost::math::students_t_distribution<long double> student(degrees);
    const boost::math::chi_squared_distribution<long double> chi_squared(degrees);
    const wide half_width = wide(quantile(complement(student, tail))) * deviation / sqrt(n);
    const wide cube = n * sigma * sigma * sigma;
    return {{mean, variance, deviation, third / cube, fourth / (cube * sigma) - 3, lowest, highest,
             wide(highest) - wide(lowest), deviation / mean, n, mean - half_width,
             mean + half_width, second / wide(quantile(complement(chi_squared, tail))),
             second / wide(quantile(chi_squared, tail))}};
}

// Of values with frequencies and weights; the sum of frequency times weight goes to weight. Values that
// are NaN, and those of frequency or weight 0, do not count.
inline exact_statistics statistics_of(const std::vector<float>& x, const std::vector<float>& times,
                                      const std::vector<float>& weights, wide& weight,
                                      double percent = 95.0) {
    wide n = 0, sum = 0, second = 0, third = 0, fourth = 0;
    float lowest = std::numeric_limits<float>::infinity();
    float highest = -lowest;
    const auto for_counting = [&](auto act) {
        for (std::size_t i = 0; i < x.size(); ++i)
            if (!std::isnan(x[i]) && times[i] * weights[i] > 0)
                act(x[i], wide(times[i]), wide(times[i]) * wide(weights[i]));
    };
    for_counting([&](float value, const wide& f, const wide& w) {
        n += f;
        weight += w;
        sum += w * value;
        lowest = std::min(lowest, value);
        highest = std::max(highest, value);
    });
    const wide mean = sum / weight;
    for_counting([&](float value, const wide&, const wide& w) {
        const wide deviation = value - mean;
        const wide square = deviation * deviation;
        second += w * square;
        third += w * square * deviation;
        fourth += w * square * square;
    });
    return statistics_of(n, mean, second, third, fourth, lowest, highest, percent);
}

inline exact_statistics statistics_of(const std::vector<float>& x, double percent = 95.0) {
    wide weight = 0;
    const std::vector<float> ones(x.size(), 1.0F);
    return statistics_of(x, ones, ones, weight, percent);
}

// Error in units in the last place of f32 at the exact value, or at least if that is greater.
inline double ulps_between(float got, const wide& exact, double at_least = 0.0) {
    const double magnitude = std::max(std::abs(static_cast<double>(exact)), at_least);
    const float near = std::max(static_cast<float>(magnitude), std::numeric_limits<float>::min());
    int exponent = 0;
    std::frexp(near, &exponent);
    return static_cast<double>(abs(wide(got - exact)) / wide(std::ldexp(1.0, exponent - 24)));
}

} // namespace support
