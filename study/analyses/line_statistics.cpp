#include "study/analyses/line_statistics.hpp"
#include "study/base/portable_math.hpp"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace qmx_study {

double two_sided_student(double t, int degrees_of_freedom) {
    if (std::isnan(t)) return t;
    if (std::isinf(t)) return 0;
    const double freedom = degrees_of_freedom;
    const double root = portable::length_of(t, std::sqrt(freedom));
    const double sine = std::fabs(t) / root;
    const double cosine = std::sqrt(freedom) / root;
    const bool is_odd = degrees_of_freedom % 2 != 0;
    // even: 1 + 1/2 c^2 + (1 3)/(2 4) c^4 + ...; odd: c + 2/3 c^3 + (2 4)/(3 5) c^5 + ...
    double term = is_odd ? cosine : 1;
    double sum = 0;
    for (int k = is_odd ? 1 : 0; k <= degrees_of_freedom - 2; k += 2) {
        sum += term;
        term *= cosine * cosine * (k + 1) / (k + 2);
    }
    const double inside =
        is_odd ? 4 * portable::turns_of(sine, cosine) + 2 / std::numbers::pi * sine * sum
               : sine * sum;
    return std::clamp(1 - inside, 0.0, 1.0);
}

double student_quantile(double percent, int degrees_of_freedom) {
    const double outside = 1 - percent / 100;
    double low = 0, high = 1;
    while (two_sided_student(high, degrees_of_freedom) > outside && high < 1e300) high *= 2;
    for (int k = 0; k < 200; ++k) {
        const double middle = low + (high - low) / 2;
        (two_sided_student(middle, degrees_of_freedom) > outside ? low : high) = middle;
    }
    return high;
}

line_statistics statistics_of_line(const std::vector<double>& x, const std::vector<double>& y) {
    const auto n = static_cast<double>(x.size());
    // From the first pair on, so that equal values have no spread at all.
    double mean_x = 0, mean_y = 0;
    for (std::size_t i = 0; i < x.size(); ++i) {
        mean_x += (x[i] - x[0]) / n;
        mean_y += (y[i] - y[0]) / n;
    }
    mean_x += x[0];
    mean_y += y[0];
    double sum_xx = 0, sum_xy = 0;
    for (std::size_t i = 0; i < x.size(); ++i) {
        sum_xx += (x[i] - mean_x) * (x[i] - mean_x);
        sum_xy += (x[i] - mean_x) * (y[i] - mean_y);
    }
    const double slope = sum_xy / sum_xx;
    double residual = 0;
    for (std::size_t i = 0; i < x.size(); ++i) {
        const double miss = y[i] - mean_y - slope * (x[i] - mean_x);
        residual += miss * miss;
    }
    line_statistics result;
    result.standard_error = std::sqrt(residual / (n - 2));
    result.slope_standard_error = result.standard_error / std::sqrt(sum_xx);
    result.intercept_standard_error =
        result.standard_error * std::sqrt(1 / n + mean_x * mean_x / sum_xx);
    result.t = slope / result.slope_standard_error;
    result.p = two_sided_student(result.t, static_cast<int>(x.size()) - 2);
    return result;
}

} // namespace qmx_study
