// Derivatives of the residuals by difference quotients that never leave the bounds.
//
// Steps are relative to the parameter: the relative step itself for two points, its power 2/3 for
// three. Three points lie on both sides where there is room, else on one; both give the derivative
// to second order. Near a bound the step turns inward. Where a quotient's residuals are not finite
// the step turns, then shrinks.
//
// Where no residual moves by more than rounding, the arithmetic is too coarse for the step: it is
// widened, on both sides, up to the bounds (or, without a bound, far beyond the size of the
// parameter) until one does. If none does the column stays zero. The residuals must be scaled so
// that the numbers they are made of are about 1.
//
// A widened step that comes upon a better point goes on as long as the points get better.
#pragma once

#include "numeric/bounded/householder.hpp"
#include "numeric/bounded/residual_function.hpp"

namespace qmx::numeric {

struct difference_rule {
    f64 relative_step;
    bool is_central;
};

// Where the residuals were evaluated on the way, the point with the smallest sum of squares, kept
// only if it is below square as it came in.
struct best_seen {
    f64* x; // [n]
    f64* f; // [m]
    f64 square;
    bool found;
};

struct difference_storage {
    f64* x;      // [n]
    f64* first;  // [m]
    f64* second; // [m]
};

// Writes column j (from 0) of the Jacobian at x, where the residuals are f; bounds may be infinite.
// seen takes a point of a widened step. True if the step had to be widened.
bool difference_column(const residual_function& function, f64 scale, const difference_rule& rule,
                       const f64* lower, const f64* upper, const f64* x, const f64* f, i64 j,
                       f64* column, best_seen& seen, const difference_storage& storage);

} // namespace qmx::numeric
