// Statistics and polynomials by the scientific library's own routines, on f64 columns.
#include "qmx_ic.h"

#include <gsl/gsl_histogram.h>
#include <gsl/gsl_multifit.h>
#include <gsl/gsl_statistics_double.h>

#include <cstddef>
#include <vector>

extern "C" {

// Mean, variance, skewness, excess, the extremes, a histogram of 20 classes and two quantiles.
void gsl_summary(int32_t count, const t_icdata* points, double* result) {
    const auto n = static_cast<std::size_t>(count);
    std::vector<double> value(n);
    for (std::size_t i = 0; i < n; ++i) value[i] = points[i].d_val;
    const double mean = gsl_stats_mean(value.data(), 1, n);
    const double deviation = gsl_stats_sd_m(value.data(), 1, n, mean);
    result[0] = mean;
    result[1] = deviation * deviation;
    result[2] = gsl_stats_skew_m_sd(value.data(), 1, n, mean, deviation);
    result[3] = gsl_stats_kurtosis_m_sd(value.data(), 1, n, mean, deviation);
    gsl_stats_minmax(&result[4], &result[5], value.data(), 1, n);
    gsl_histogram* const classes = gsl_histogram_alloc(20);
    if (classes == nullptr) return;
    gsl_histogram_set_ranges_uniform(classes, result[4], result[5]);
    for (const double v : value) gsl_histogram_increment(classes, v);
    result[8] = gsl_histogram_max_val(classes);
    gsl_histogram_free(classes);
    result[6] = gsl_stats_select(value.data(), 1, n, n / 10); // reorders the values
    result[7] = gsl_stats_select(value.data(), 1, n, n - n / 10);
}

// Least squares by the singular values of the powers of x, taken about the middle of their range and
// in units of half of it; curve [points_of_curve] spans the range.
void gsl_polynomial(int32_t count, int32_t degree, const float* x, const float* y,
                    int32_t points_of_curve, double* curve) {
    const auto n = static_cast<std::size_t>(count);
    const auto p = static_cast<std::size_t>(degree) + 1;
    double low = static_cast<double>(x[0]);
    double high = low;
    for (std::size_t i = 0; i < n; ++i) {
        const double at = static_cast<double>(x[i]);
        if (at < low) low = at;
        if (at > high) high = at;
    }
    const double middle = 0.5 * (low + high);
    const double half = 0.5 * (high - low);
    gsl_matrix* const powers = gsl_matrix_alloc(n, p);
    gsl_vector* const ordinates = gsl_vector_alloc(n);
    gsl_vector* const coefficients = gsl_vector_alloc(p);
    gsl_matrix* const covariance = gsl_matrix_alloc(p, p);
    gsl_multifit_linear_workspace* const work = gsl_multifit_linear_alloc(n, p);
    for (std::size_t i = 0; i < n; ++i) {
        const double t = (static_cast<double>(x[i]) - middle) / half;
        double power = 1;
        for (std::size_t k = 0; k < p; ++k, power *= t) gsl_matrix_set(powers, i, k, power);
        gsl_vector_set(ordinates, i, static_cast<double>(y[i]));
    }
    double squares = 0;
    gsl_multifit_linear(powers, ordinates, coefficients, covariance, &squares, work);
    for (int32_t k = 0; k < points_of_curve; ++k) {
        const double t = 2.0 * k / (points_of_curve - 1) - 1;
        double sum = 0;
        for (std::size_t j = p; j-- > 0;) sum = sum * t + gsl_vector_get(coefficients, j);
        curve[k] = sum;
    }
    gsl_multifit_linear_free(work);
    gsl_matrix_free(covariance);
    gsl_vector_free(coefficients);
    gsl_vector_free(ordinates);
    gsl_matrix_free(powers);
}

} // extern "C"
