// Nonlinear least squares under bounds and linear constraints. Called by the option-list solver;
// descends from the start, then searches for a better minimum (multistart.hpp).
//
//   minimise  |F(x)|  so that  lower <= x <= upper  and  row_lower <= C x <= row_upper
//
// A step minimises a model of the residuals within the trust region, a box around x, intersected
// with the bounds and the constraints. The model is linear (Gauss-Newton), or quadratic with the
// second-order part of the sum of squares from a secant update. The model that predicted the last
// reduction better is used next; a rejected step is tried with the other one before the radius
// shrinks. After a poor predicted reduction a second-order correction adds the curvature seen along
// the step and solves again, which returns to the floor of a curved valley. Once progress ends,
// derivatives switch to central differences, whose error does not limit the solution. Parameters in
// which the residuals are affine are fitted exactly at each trial point (affine_parameters.hpp).
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
    i32 boundary_steps; // successive ones without reduction that mean a solution at infinity
    bool evaluate_only;
    bool search_across_bounds;
    f64 gradient_tolerance;
    f64 step_tolerance;
    f64 change_tolerance;
    f64 noise_tolerance;
    f64 acceptance;                              // least ratio of actual to predicted reduction
    f64 relative_difference, central_difference; // relative steps, of two points and of three
    f64 first_region; // first radius, in thirtieths of the parameters' size
};

enum class stop_code : i32 {
    nothing_asked = -1, // only the residuals at the start were requested
    nothing_free = 0,   // every parameter is fixed by its bounds
    nothing_moves = 1,  // no free parameter changes a residual
    small_residual = 2, // the residuals are zero
    far_away = 3,       // each step reaches the boundary, with negligible reduction
    flat = 4,           // the predicted reduction is negligible
    noise = 5,          // no step, however short, achieves the predicted reduction
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
    point current, trial, best, corrected;
    f64 *jacobian, *old_jacobian, *factors, *beta, *rotated;
    f64 *model, *curvature, *scaled_curvature, *scaled_rows;
    f64 *scale, *largest, *step, *change, *old_step, *old_change, *gradient, *old_gradient;
    f64 *lower, *upper, *row_lower, *row_upper; // of the step
    f64* typical;                               // sizes of the parameters, forgotten slowly
    f64* difference_lengths;                    // of the Jacobian's columns
    f64 *divisors, *far_x;                      // of the affine parameters
    f64 *start, *places, *place_values, *place_squares, *previous_f; // of the multistart
    bool *is_fixed, *is_widened, *is_affine, *is_scanned;
    difference_storage differences;
    step_storage inner;
    feasible_storage feasible;
};

// Evaluates at x [n] first, then moves it to the nearest feasible point (within the bounds; upper
// bound last; least violation of the constraints). Leaves in x the best point found and in norm its
// residual norm. Bounds hold exactly, constraints to within rounding (round_to_representable).
// Residuals at the start that are not finite end as noise.
stop_code minimise(const residual_function& function, const fit_limits& limits,
                   const solver_settings& settings, solver_storage& storage, f64* x, f64& norm);

} // namespace qmx::numeric
