// Least squares line by orthogonal reduction.
#pragma once

#include "base/double_double.hpp"
#include "numeric/regression/regression_rows.hpp"

namespace qmx::numeric {

// The line y = y_center + constant + slope (x - x_center), all in the units of the rows, with the
// triangular factor R of the weighted columns (1, x - x_center): their cross products are R'R.
// Without an intercept the centers and the constant are 0, and R is r22 alone.
struct line_fit {
    bool has_intercept = false;
    bool constant_estimated = false;
    bool slope_estimated = false;
    row_units units;
    f64 x_center = 0.0;
    f64 y_center = 0.0;
    double_double constant;
    double_double slope;
    f64 r11 = 0.0, r12 = 0.0, r22 = 0.0;
    f64 observations = 0.0; // sum of the frequencies
    f64 response_mean = 0.0;
    f64 error_sum = 0.0;      // weighted squares of the residuals,
    f64 regression_sum = 0.0; // sum of squares explained by x

    i32 rank() const { return constant_estimated + slope_estimated; }
    f64 error_degrees() const { return observations - rank(); }
    f64 regression_degrees() const { return slope_estimated; }
    f64 total_degrees() const { return observations - constant_estimated; }
};

// Fits the line to the rows and leaves their residuals in them. A pivot of at most tolerance times
// the norm of its column counts as 0. Rows are applied one at a time by fast Givens rotations
// (W. M. Gentleman, 1973; with the scaling of C. L. Lawson and others, 1979).
void DR2IVN(regression_rows& rows, bool has_intercept, f64 tolerance, line_fit& fit);

// The line at x, and the residual y less the line at x, in double-double and rounded once.
f64 value_at(const line_fit& fit, f64 x);
f64 residual_at(const line_fit& fit, f64 x, f64 y);

// The variance of the line at x, divided by that of an error of weight 1.
f64 variance_factor_at(const line_fit& fit, f64 x);

} // namespace qmx::numeric
