// Coefficients of a fitted line with their inference, and its analysis of variance.
#pragma once

#include "numeric/regression/givens_fit.hpp"

namespace qmx::numeric {

// Fills AOV, COEF and COVB, described in simple_regression.hpp, from the triangular factor of the
// fit.
void DRSTAT(const line_fit& fit, f64* AOV, f64* COEF, i32 LDCOEF, f64* COVB, i32 LDCOVB);

// Mean square of the error in the units of the fit; NaN without error degrees of freedom.
f64 error_mean_square(const line_fit& fit);

} // namespace qmx::numeric
