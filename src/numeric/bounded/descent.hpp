// One descent of the trust-region method from the current point of the storage to a local minimum
// or to another stop. Called for the caller's start and by the multistart.
#pragma once

#include "numeric/bounded/affine_parameters.hpp"
#include "numeric/bounded/local_model.hpp"
#include "numeric/bounded/trust_region.hpp"

namespace qmx::numeric {

class descent {
public:
    descent(const residual_function& function, const fit_limits& limits,
            const solver_settings& settings, solver_storage& storage, local_model& model,
            affine_parameters& affine)
        : function_(function), limits_(limits), settings_(settings), work_(storage), model_(model),
          affine_(affine), m_(function.m), n_(function.n) {}

    // start_norm: residual norm at the caller's start.
    stop_code run(f64 start_norm, bool may_fit_affine = true);

private:
    // What a step reaches.
    struct contact {
        bool region;    // the boundary of the trust region, before a bound
        bool unbounded; // in a parameter without a bound on that side, further out than ever
    };
    struct progress {
        f64 radius = 0.0; // of the trust region, in scaled parameters
        f64 radius_on_arrival = 0.0;
        f64 first_reduction = -1.0; // predicted by the linear model before any rejection
        bool is_new = true;         // no radius yet
        bool has_model = false;     // of the current point
        bool is_central = false;
        bool has_moved = false;
        bool follows_step = false; // the curvature update for the last step is due
        i32 boundary_steps = 0, stagnant_steps = 0;
    };
    struct proposal {
        bool moves;
        f64 linear, quadratic; // predicted reductions of the two models
        f64 predicted;         // that of the model in use
        contact at;
    };
    struct trial_result {
        f64 actual; // reduction of the sum of squares
        f64 length; // of the step, in scaled parameters
        bool is_short;
    };
    struct attempts { // at one point
        bool has_switched_model = false, is_rejected = false;
    };
    enum class turn { retry, new_model, stop }; // stop: for the reason in stop_

    turn stop_for(stop_code reason);
    f64 step_length() const;
    f64 first_radius() const;
    contact contact_of_step(f64 radius) const;
    bool is_noise(f64 first_reduction) const;
    void forget_curvature();
    bool switch_to_central(progress& so_far) const;
    turn renew_derivatives(progress& so_far);
    turn make_model(progress& so_far);
    turn stop_without_columns(const progress& so_far);
    turn make_step(progress& so_far);
    proposal propose(progress& so_far);
    turn end_without_reduction(progress& so_far, const proposal& step, const attempts& tried);
    trial_result try_step(const proposal& step);
    f64 evaluate_trial(f64 predicted);
    bool choose_affine() const;
    turn accept(progress& so_far, const proposal& step, const trial_result& result,
                const attempts& tried);
    turn move_to_trial(progress& so_far, const proposal& step, const trial_result& result);
    turn reject(progress& so_far, const trial_result& result, attempts& tried);
    static void adapt_radius(progress& so_far, f64 ratio, f64 length, const contact& at);
    f64 shrinking(f64 actual) const;

    const residual_function& function_;
    const fit_limits& limits_;
    const solver_settings& settings_;
    solver_storage& work_;
    local_model& model_;
    affine_parameters& affine_;
    i64 m_, n_;
    f64 start_norm_ = 0.0;
    i32 iterations_ = 0;
    bool uses_curvature_ = false;
    stop_code stop_ = stop_code::nothing_asked;
};

} // namespace qmx::numeric
