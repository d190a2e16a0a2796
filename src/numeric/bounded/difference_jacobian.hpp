// Jacobian of the residuals by forward and central differences within the bounds. Called by the
// local model, one column at a time.
//
// The step is relative to the parameter: the relative step for forward differences, its power 2/3
// for central ones. Without room on both sides a three-point one-sided formula replaces the central
// one; both are of second order. Near a bound the step turns inward. Where the residuals are not
// finite the step changes sign, then shrinks.
//
// Where no residual changes at all, the arithmetic is too coarse for the step. It is then widened,
// on both sides, up to the bounds (without a bound: far beyond the size of the parameter) until one
// does; otherwise the column is zero.
#pragma once

#include "numeric/bounded/householder.hpp"
#include "numeric/bounded/residual_function.hpp"

namespace qmx::numeric {

struct difference_rule {
    f64 relative_step;
    f64 central_step; // relative, of the three-point formula; 0: two points
    f64 typical_size; // of the parameter on the way here
    f64 step;         // the step itself; 0: by the relative one
};

struct difference_storage {
    f64* x;      // [n]
    f64* first;  // [m]
    f64* second; // [m]
};

// Writes column j (from 0) of the Jacobian at x, where the residuals are f; bounds may be infinite.
// What the column was made with.
struct difference_step {
    f64 length; // 0 for a column of zeros
    bool is_widened;
};

difference_step difference_column(const residual_function& function, f64 scale,
                                  const difference_rule& rule, const f64* lower, const f64* upper,
                                  const f64* x, const f64* f, i64 j, f64* column,
                                  const difference_storage& storage);

} // namespace qmx::numeric
