// The model of the residuals around a point, and the steps it proposes.
#pragma once

#include "numeric/bounded/trust_region.hpp"

#include <algorithm>

namespace qmx::numeric {

// Works on the current and trial points of the storage. Scaled parameters are parameters times
// their scale, which follows the columns of the Jacobian.
class local_model {
public:
    local_model(const residual_function& function, const fit_limits& limits,
                const solver_settings& settings, solver_storage& storage)
        : function_(function), limits_(limits), settings_(settings), work_(storage), m_(function.m),
          n_(function.n), rows_(std::min(function.m, function.n)) {}

    f64 residual_scale = 1.0; // a power of two, see evaluate

    // Fills in residuals and sum of squares, which it returns.
    f64 evaluate_at(solver_storage::point& at);

    bool meets_rows(const f64* x) const;

    // The Jacobian at current, without the columns of parameters that do not move. False where a
    // widened step came upon a better point: current is then that one.
    bool linearise(bool is_central);

    bool any_column_moves() const;

    // The parameters' scale follows the columns of the Jacobian, and forgets slowly.
    void update_scale(bool is_first);

    // The model itself, out of Jacobian, scale and curvature.
    void build();

    // The scale of a parameter, 1 for one that moves nothing.
    f64 divisor_of(i64 j) const { return work_.scale[j] > 0.0 ? work_.scale[j] : 1.0; }

    // A parameter without bounds at most doubles in a step: a residual that it hardly changes, far
    // from the solution, must not throw it out of sight.
    f64 farthest_of(i64 j) const;

    // The limits of a step in scaled parameters, no longer than the region.
    void limit_step(f64 region);

    // Solves the model and puts the trial point on numbers; change is what it really moves, in
    // scaled parameters in step. False where nothing moves.
    bool make_trial(bool with_curvature);

    // The trial shows how far the residuals bend away from the linear model along the step. Solves
    // the model again with that bend added, and takes what comes out for the trial if it is better.
    // Returns the sum of squares there. In a curved valley this leads back to its floor.
    f64 correct_trial();

    // What the model says the sum of squares will lose with the step.
    f64 foretold_gain(bool with_curvature) const;

    void forget_curvature();

    // After a step from old_jacobian to jacobian: S becomes the symmetric matrix nearest to its
    // sized old self, in the norm of the secant pair, that maps the step onto the change of J'F for
    // fixed F.
    void update_curvature();

    // Largest scaled parameter.
    f64 scaled_size(const f64* x) const;

    // Parameters whose difference step had to be widened stay where they are; false if there are
    // none.
    bool drop_widened_columns();

    bool has_curvature() const { return has_curvature_; }

private:
    f64 column_length(i64 j) const;
    model_problem problem(bool with_curvature) const;

    const residual_function& function_;
    const fit_limits& limits_;
    const solver_settings& settings_;
    solver_storage& work_;
    i64 m_, n_, rows_; // rows of R
    bool has_curvature_ = false;
};

} // namespace qmx::numeric
