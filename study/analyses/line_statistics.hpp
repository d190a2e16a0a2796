// How well pairs support a straight line.
#pragma once

#include <vector>

namespace qmx_study {

struct line_statistics {
    double standard_error = 0; // of the estimate: root of (residual sum of squares / (n - 2))
    double intercept_standard_error = 0; // of the two coefficients
    double slope_standard_error = 0;
    double t = 0; // slope over its standard error
    double p = 0; // two-sided probability of such a t where the slope is 0
};

// Least squares of y on x, n >= 3 pairs. Centred sums in 64 bits. What the pairs do not define (all x
// equal, say) is NaN; a perfect line has an infinite t and a p of 0.
line_statistics statistics_of_line(const std::vector<double>& x, const std::vector<double>& y);

// Probability that a Student variable of so many degrees of freedom is farther from 0 than t: the
// finite trigonometric series, so the absolute error is below 1e-15 + 5e-17 times the freedom.
// M. Abramowitz, I. A. Stegun: Handbook of Mathematical Functions (1964), 26.7.3 and 26.7.4.
double two_sided_student(double t, int degrees_of_freedom);

// The t that a Student variable is no farther from 0 than with this probability, percent: by bisection
// of the above.
double student_quantile(double percent, int degrees_of_freedom);

} // namespace qmx_study
