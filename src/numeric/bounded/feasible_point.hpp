// Feasible points: within the bounds and linear constraints, in the residuals' precision. Called
// for the start, for every trial point and by the multistart.
#pragma once

#include "numeric/bounded/constrained_step.hpp"
#include "numeric/bounded/residual_function.hpp"

namespace qmx::numeric {

struct fit_limits {
    const f64* lower; // [n], infinite where there is none; lower <= upper
    const f64* upper;
    dense_matrix rows;    // C [constraints by n]
    const f64* row_lower; // [constraints], infinite where there is none
    const f64* row_upper;
};

// Signed violation of row i at x: negative below its lower limit, positive above the upper one.
f64 row_violation(const fit_limits& limits, i64 i, const f64* x);

// Projects x onto the bounds; the upper bound is applied last.
void put_within_bounds(const fit_limits& limits, f64* x);

// Rounds x to parameters representable in the residuals' precision, within the bounds. A constraint
// violated by rounding is repaired by moving the one parameter that leaves the least violation.
void round_to_representable(const residual_function& function, const fit_limits& limits, f64* x);

struct feasible_storage {
    feasible_storage(storage_plan& plan, i64 n, i64 constraints);

    f64 *model, *offset, *lower, *upper, *step, *rows, *row_lower, *row_upper, *target;
};

// Moves x, within the bounds, to the nearest point that meets the constraints, or else to one with
// the least sum of squared violations. inner must hold n plus the number of constraints variables.
void meet_constraints(const fit_limits& limits, f64* x, const feasible_storage& storage,
                      const step_storage& inner);

} // namespace qmx::numeric
