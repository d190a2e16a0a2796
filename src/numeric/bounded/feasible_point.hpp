// Points within bounds and linear constraints.
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

// Distance by which row i misses its limits at x: negative below the lower one, positive above the
// upper one, 0 between.
f64 row_violation(const fit_limits& limits, i64 i, const f64* x);

// Puts each parameter within its bounds; the upper one is applied last.
void put_within_bounds(const fit_limits& limits, f64* x);

// Replaces x by numbers that the residuals can be asked for, within the bounds. A constraint that
// rounding broke is mended by moving the parameter that leaves least of the violation.
void put_on_numbers(const residual_function& function, const fit_limits& limits, f64* x);

struct feasible_storage {
    feasible_storage(storage_plan& plan, i64 n, i64 constraints);

    f64 *model, *offset, *lower, *upper, *step, *rows, *row_lower, *row_upper, *target;
};

// Moves x, which is within the bounds, to the nearest point that meets the constraints; where none
// does, to one that misses them by the least sum of squared distances. inner must serve n plus the
// number of constraints variables.
void meet_constraints(const fit_limits& limits, f64* x, const feasible_storage& storage,
                      const step_storage& inner);

} // namespace qmx::numeric
