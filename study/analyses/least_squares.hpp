// Polynomials by ordinary least squares, with the errors of their coefficients.
#pragma once

#include <optional>
#include <vector>

namespace qmx_study {

struct least_squares {
    std::vector<double> coefficients;    // of the powers from 0 on
    std::vector<double> standard_errors; // NaN where there are no more pairs than coefficients
    double r_squared = 0;      // percent of the spread of y about its mean; NaN without any
    double standard_error = 0; // root of (residual sum of squares / degrees of freedom)
};

// Nothing where the abscissas do not settle a polynomial of this degree in 64 bits. Householder
// triangles of the powers of abscissas brought to -1 … 1, expanded to powers of x at the end: both
// coefficients and their covariance.
// G. H. Golub, C. F. Van Loan: Matrix Computations (1996), 5.2 and 5.3.
std::optional<least_squares> polynomial_least_squares(const std::vector<double>& x,
                                                      const std::vector<double>& y, int degree);

} // namespace qmx_study
