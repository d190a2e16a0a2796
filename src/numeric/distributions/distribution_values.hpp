// The distributions' values in f64, without the error stack: arguments are taken as valid. The
// routines of distributions.hpp check, call these and round once.
#pragma once

#include "numeric/distributions/distribution_kernels.hpp"

namespace qmx::numeric {

// y with erfc(y) = x, for 0 < x < 2. Exactly 0 at x = 1.
f64 inverse_erfc(f64 x);

// t with P(T <= t) = p, for 0 < p < 1 and df >= 1. Exactly 0 at p = 0.5.
f64 student_quantile(f64 p, f64 df);

// x with P(X <= x) = p, for 0 < p < 1 and df >= 0.5.
search_result chi_squared_quantile(f64 p, f64 df);

// I_x(a, b), for 0 <= x <= 1, a > 0, b > 0.
f64 incomplete_beta_ratio(f64 x, f64 a, f64 b);

} // namespace qmx::numeric
