// The step of the trust-region method: a small quadratic program under bounds and linear
// constraints. Called by the local model and, for the feasible start, by meet_constraints.
//
//   minimise  1/2 |R s + d|^2 + 1/2 s' S s
//   so that   lower <= s <= upper  and  row_lower <= A s <= row_upper
//
// s = 0 must be feasible: lower <= 0 <= upper, row_lower <= 0 <= row_upper. Bounds hold exactly,
// rows to within rounding. S may be null, and may be indefinite if all bounds are finite: the step
// then follows a direction of negative curvature to a bound.
//
// Method: primal active set in the null space of the active rows; the linear model is solved by QR
// factors, without forming R'R (Gill, Murray and Wright, Practical
// Optimization, 1981, chapter 5).
#pragma once

#include "numeric/arithmetic/storage_plan.hpp"
#include "numeric/bounded/householder.hpp"

namespace qmx::numeric {

struct model_problem {
    dense_matrix r;       // any number of rows
    const f64* d;         // [rows of r]
    const f64* curvature; // S [n by n], symmetric; null for none
    const f64* lower;     // [n]
    const f64* upper;     // [n]
    dense_matrix rows;    // A [number of constraints by n]
    const f64* row_lower;
    const f64* row_upper;

    i64 size() const { return r.columns; }
};

enum class limit_state : i32 { inactive, at_lower, at_upper };

// Workspace for problems of up to these sizes.
struct step_storage {
    step_storage(storage_plan& plan, i64 variables, i64 rows_of_r, i64 constraints);

    f64 *residual, *gradient, *direction, *reduced, *multipliers;
    f64 *active_rows, *active_beta, *basis, *image, *image_beta, *hessian;
    i32 *order, *free_variables, *active;
    limit_state *bound_state, *row_state;
};

// Writes the step s [n]; the model there is never worse than at s = 0.
void constrained_step(const model_problem& problem, f64* s, const step_storage& storage);

// Change of the model from 0 to s; work [rows of r].
f64 model_change(const model_problem& problem, const f64* s, f64* work);

} // namespace qmx::numeric
