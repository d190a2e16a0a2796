// The linear and quadratic models of the residuals around a point, and the steps that minimise
// them. Called by descent and multistart.
#pragma once

#include "numeric/bounded/trust_region.hpp"

#include <algorithm>

namespace qmx::numeric {

// Works on the current and trial points of the storage. Scaled parameters are parameters times
// their scale, a decaying maximum of the lengths of the Jacobian's columns.
class local_model {
public:
    local_model(const residual_function& function, const fit_limits& limits,
                const solver_settings& settings, solver_storage& storage)
        : function_(function), limits_(limits), settings_(settings), work_(storage), m_(function.m),
          n_(function.n), rows_(std::min(function.m, function.n)) {}

    f64 residual_scale = 1.0; // a power of two, see evaluate
    bool fits_affine = false; // affine parameters are fitted again after each step
    bool is_affine = false;   // the residuals are, in all parameters together

    // Sets the residuals and the sum of squares, which it returns.
    f64 evaluate_at(solver_storage::point& at);

    bool meets_rows(const f64* x) const;

    // The Jacobian at current; columns of fixed parameters are zero.
    void linearise(bool is_central);

    bool any_column_moves() const;

    // Sets the scale from the column lengths; earlier lengths decay slowly.
    void update_scale(bool is_first);

    // Builds the models from Jacobian, scale and curvature.
    void build();

    // The scale of a parameter; 1 where its column is zero.
    f64 divisor_of(i64 j) const { return work_.scale[j] > 0.0 ? work_.scale[j] : 1.0; }

    // Largest change of a parameter in one step. Without two bounds it at most doubles: a nearly
    // flat residual far from the solution must not send it to infinity.
    f64 farthest_of(i64 j) const;

    // Sets the limits of the step, in scaled parameters, from radius, bounds and constraints.
    void limit_step(f64 radius);

    // Minimises the model and rounds the trial point to representable parameters. change is the
    // rounded step, step the same in scaled parameters. False if both are zero.
    bool make_trial(bool with_curvature);

    // Sets change and step from the trial point; false if both are zero.
    bool measure_step();

    // Second-order correction after a poor predicted reduction: adds the residuals' deviation from
    // the linear model along the step, minimises again and keeps the better trial. In a curved
    // valley this returns to the floor. Returns the sum of squares at the trial.
    f64 correct_trial();

    // Reduction of the sum of squares that the model predicts for the step.
    f64 predicted_reduction(bool with_curvature) const;

    void forget_curvature();

    // Secant update of the curvature S after a step from old_jacobian to jacobian: the symmetric
    // matrix nearest to the sized old S (in the norm of the secant pair) that maps the step onto
    // the change of J'F at fixed F.
    void update_curvature();

    // Largest scaled parameter.
    f64 scaled_size(const f64* x) const;

    // Size of the linear terms: column lengths times parameters.
    f64 term_size() const;

    // Error of the predicted reduction from the differences of residuals with rounding errors of
    // this size.
    f64 reduction_error(f64 rounding) const;

    // Sets the columns of widened difference steps to zero; false if there are none.
    bool drop_widened_columns();

    bool has_curvature() const { return has_curvature_; }

private:
    f64 column_length(i64 j) const;
    difference_rule rule_for(i64 j, bool is_central) const;
    model_problem problem(bool with_curvature) const;

    const residual_function& function_;
    const fit_limits& limits_;
    const solver_settings& settings_;
    solver_storage& work_;
    i64 m_, n_, rows_; // rows of R
    bool has_curvature_ = false;
    f64 unrounded_reduction_ = 0.0;
};

} // namespace qmx::numeric
