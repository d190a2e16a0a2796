// The analysis of variance of a regression.
#pragma once

#include "base/base_types.hpp"

namespace qmx::numeric {

// Input of the table: degrees of freedom and sums of squares of regression and error (their sums
// are the totals, about the mean with an intercept, else about 0), and the mean response.
struct variance_sources {
    f64 regression_degrees, error_degrees;
    f64 regression_sum, error_sum;
    f64 mean;
};

inline constexpr i32 variance_entries = 15;

// Fills AOV: degrees of freedom of 1 regression, 2 error, 3 total; sums of squares of 4 regression,
// 5 error, 6 total; mean squares of 7 regression, 8 error; 9 F = entry 7 / entry 8, 10 its p-value;
// 11 R-squared and 12 adjusted R-squared, 1 - entry 8 / (entry 6 / entry 3), in percent; 13
// standard deviation of the error, root of entry 8; 14 mean; 15 coefficient of variation, 100 entry
// 13 / entry 14. Without error degrees of freedom 8 to 10, 12, 13 and 15 are NaN.
void fill_variance_table(const variance_sources& sources, f64* AOV);

// Probability that an F statistic of these degrees of freedom exceeds F; NaN where it has none.
f64 probability_above_f(f64 F, f64 numerator_degrees, f64 denominator_degrees);

// Probability that the magnitude of a t statistic exceeds that of t.
f64 two_sided_probability_of_t(f64 t, f64 degrees);

} // namespace qmx::numeric
