// Nonlinear least squares under bounds and linear constraints, in the solver's own terms.
//
//   minimise  |F(x)|  so that  lower <= x <= upper  and  row_lower <= C x <= row_upper
//
// Steps minimise a model of the residuals within a box around x, the trust region, cut by the bounds
// and the constraints. The model is linear (Gauss-Newton) or carries, in addition, the second-order
// part of the sum of squares, gathered from the change of the Jacobian by a secant update; whichever
// foretold the last change better is used next, and a rejected step is tried with the other before
// the region shrinks. A trial that was foretold badly shows the bend of the residuals along the
// step; the model is solved again with that bend added, which leads back to the floor of a curved
// valley. Differences turn central once progress ends, so that the derivatives do not set the
// accuracy of the solution.
//
// Least-squares problems of curves have plateaus and minima on bounds that are not the best one.
// Hence, after a descent has ended, each parameter with two finite bounds is moved across them in
// 48 places, the other parameters fitted to each place by a linear model, and the best valleys seen
// are descended into as well. Places that break a constraint are passed over. The search is left out
// with more than 8 parameters, or on request.
//
// Method: Dennis, Gay and Welsch, An adaptive nonlinear least-squares algorithm (1981), for model
// and switching; box-shaped regions after Fletcher, Practical Methods of Optimization (1987).
#pragma once

#include "numeric/bounded/constrained_step.hpp"
#include "numeric/bounded/difference_jacobian.hpp"
#include "numeric/bounded/feasible_point.hpp"
#include "numeric/bounded/residual_function.hpp"

namespace qmx::numeric {

struct solver_settings {
    i32 iteration_limit;
    bool linear_model_only;
    i32 far_steps; // that many on the region's edge and without gain mean a solution at infinity
    bool evaluate_only;
    bool search_across_bounds;
    f64 gradient_tolerance;
    f64 step_tolerance;
    f64 change_tolerance;
    f64 noise_tolerance;
    f64 acceptance; // least part of the foretold change
    f64 relative_difference;
    f64 first_region; // in thirtieths of the parameters' size
};

enum class stop_code : i32 {
    nothing_asked = -1, // the residuals at the start are all that was wanted
    nothing_free = 0,   // no parameter has room
    nothing_moves = 1,  // no parameter with room moves a residual
    small_residual = 2, // no residual is left
    far_away = 3,       // the norm hardly falls, yet each step runs to the region's edge
    flat = 4,           // the model foretells no further gain
    noise = 5,          // the model foretells a gain, and no step however short brings it
    small_step = 6,     // the parameters no longer change
    small_change = 7,   // the norm no longer changes
    too_many_iterations = 8,
};

// Working storage for one problem.
struct solver_storage {
    solver_storage(storage_plan& plan, i64 m, i64 n, i64 constraints);

    struct point {
        f64* x; // [n]
        f64* f; // [m]
        f64 square;
    };
    point current, trial, best, widened;
    f64 *jacobian, *old_jacobian, *factors, *beta, *rotated;
    f64 *model, *curvature, *scaled_curvature, *scaled_rows;
    f64 *scale, *largest, *step, *change, *old_step, *old_change, *gradient, *old_gradient;
    f64 *lower, *upper, *row_lower, *row_upper; // of the step
    f64 *places, *place_squares;
    bool *is_fixed, *is_widened;
    difference_storage differences;
    step_storage inner;
    feasible_storage feasible;
};

// Evaluates first at x [n] as it comes, then moves it within the bounds (the upper one last) and to
// the nearest point that meets the constraints, or misses them least. Leaves in x the best point
// that occurred and in norm its residual norm. Bounds hold exactly, a constraint to within rounding
// (put_on_numbers). Residuals at the start that are not finite end as noise.
stop_code minimise(const residual_function& function, const fit_limits& limits,
                   const solver_settings& settings, solver_storage& storage, f64* x, f64& norm);

} // namespace qmx::numeric
