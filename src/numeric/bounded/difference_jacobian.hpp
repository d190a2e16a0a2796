// Jacobian of the residuals by forward and central differences within the bounds. Called by the
// local model, one column at a time.
//
// The step is relative to the parameter: the relative step for forward differences, its power 2/3
// for central ones. Without room on both sides a three-point one-sided formula replaces the central
// one; both are of second order. Near a bound the step turns inward. Where the residuals are not
// finite the step changes sign, then shrinks.
//
// Where no residual changes by more than rounding the step is widened, on both sides, up to the
// bounds (without a bound: far beyond the size of the parameter) until one does; otherwise the
// column is zero. The residuals must be scaled so that the terms they consist of are about 1. A
// widened step that finds a better point continues as long as the points improve.
#pragma once

#include "numeric/bounded/householder.hpp"
#include "numeric/bounded/residual_function.hpp"

namespace qmx::numeric {

struct difference_rule {
    f64 relative_step;
    bool is_central;
};

struct difference_storage {
    f64* x;      // [n]
    f64* first;  // [m]
    f64* second; // [m]
};

// Writes column j (from 0) of the Jacobian at x, where the residuals are f; bounds may be infinite.
// True if the step was widened.
bool difference_column(const residual_function& function, f64 scale, const difference_rule& rule,
                       const f64* lower, const f64* upper, const f64* x, const f64* f, i64 j,
                       f64* column, const difference_storage& storage);

} // namespace qmx::numeric
