#include "numeric/bounded/descent.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace qmx::numeric {
namespace {} // namespace

stop_code descent::run(f64 start_norm, bool may_fit_affine) {
    start_norm_ = start_norm;
    iterations_ = 0;
    model_.fits_affine = may_fit_affine && choose_affine();
    progress so_far;
    forget_curvature();
    for (i64 j = 0; j < n_; ++j) {
        const f64 at = std::abs(work_.current.x[j]);
        const f64 width = limits_.upper[j] - limits_.lower[j];
        work_.largest[j] = work_.typical[j] = at > 0.0 ? at : std::min(1.0, width);
    }
    const f64 zero_norm = epsilon_of(function_) * settings_.gradient_tolerance;
    for (;;) {
        if (work_.current.square <= zero_norm * zero_norm) return stop_code::small_residual;
        if (!so_far.has_model && make_model(so_far) == turn::stop) return stop_;
        if (so_far.has_model && make_step(so_far) == turn::stop) return stop_;
    }
}

descent::turn descent::stop_for(stop_code reason) {
    stop_ = reason;
    return turn::stop;
}

// Only with parameters of both kinds, and where every one can move by itself.
bool descent::choose_affine() const {
    bool any_affine = false, any_other = false;
    for (i64 j = 0; j < n_; ++j) {
        if (work_.is_fixed[j]) continue;
        any_affine = any_affine || work_.is_affine[j];
        any_other = any_other || !work_.is_affine[j];
    }
    return any_affine && any_other && limits_.rows.rows == 0 && function_.jacobian == nullptr;
}

// ---- The trust region ---------------------------------------------------------------------------

// The size of a parameter with two bounds is their distance, so that the first step may cross it.
f64 descent::first_radius() const {
    if (model_.is_affine) return std::numeric_limits<f64>::infinity();
    f64 size = 0.0;
    for (i64 j = 0; j < n_; ++j) {
        const f64 width = limits_.upper[j] - limits_.lower[j];
        const f64 reach = std::isinf(width) ? std::abs(work_.current.x[j]) : width;
        size = std::max(size, reach * work_.scale[j]);
    }
    constexpr f64 unit = 30.0;
    return settings_.first_region / unit * (size > 0.0 ? size : 1.0);
}

f64 descent::step_length() const {
    f64 largest = 0.0;
    for (i64 j = 0; j < n_; ++j)
        if (!model_.fits_affine || !work_.is_affine[j])
            largest = std::max(largest, std::abs(work_.step[j]));
    return largest;
}

descent::contact descent::contact_of_step(f64 radius) const {
    contact at{false, false};
    for (i64 j = 0; j < n_; ++j) {
        if (model_.fits_affine && work_.is_affine[j]) continue;
        const f64 boundary = std::min(radius, model_.farthest_of(j) * model_.divisor_of(j));
        const f64 rounding = epsilon_of(function_) * model_.divisor_of(j) *
                             std::max(std::abs(work_.current.x[j]), std::abs(work_.trial.x[j]));
        if (!(std::abs(work_.step[j]) + rounding >= 0.999 * boundary) || work_.step[j] == 0.0)
            continue;
        const f64 bound = work_.step[j] < 0.0 ? limits_.lower[j] : limits_.upper[j];
        const f64 room = std::abs(bound - work_.current.x[j]) * model_.divisor_of(j);
        at.region = at.region || room > boundary;
        at.unbounded = at.unbounded ||
                       (std::isinf(bound) && std::abs(work_.trial.x[j]) > 1.1 * work_.largest[j]);
    }
    return at;
}

void descent::adapt_radius(progress& so_far, f64 ratio, f64 length, const contact& at) {
    if (ratio < 0.25)
        so_far.radius = 0.5 * length;
    else if (ratio > 0.75 && at.region)
        so_far.radius *= ratio > 0.9 && ratio < 1.1 ? 4.0 : 2.0;
}

// Minimum of the parabola through the value and slope at the point and the value at the trial.
f64 descent::shrinking(f64 actual) const {
    f64 slope = 0.0;
    for (i64 j = 0; j < n_; ++j) slope += 2.0 * work_.gradient[j] * work_.change[j];
    const f64 part = -slope / (2.0 * (-actual - slope));
    return std::isfinite(part) ? std::clamp(part, 0.1, 0.5) : 0.1;
}

// ---- The model ----------------------------------------------------------------------------------

void descent::forget_curvature() {
    model_.forget_curvature();
    uses_curvature_ = false;
}

// Switches once to central differences; false with the caller's Jacobian, with affine residuals, or
// after the switch.
bool descent::switch_to_central(progress& so_far) const {
    if (function_.jacobian != nullptr || model_.is_affine || so_far.is_central) return false;
    so_far.is_central = true;
    return true;
}

descent::turn descent::renew_derivatives(progress& so_far) {
    so_far.has_model = false;
    so_far.radius = std::max(so_far.radius, so_far.radius_on_arrival);
    uses_curvature_ = false;
    return turn::new_model;
}

// The model at the current point.
descent::turn descent::make_model(progress& so_far) {
    model_.linearise(so_far.is_central);
    model_.update_scale(so_far.is_new);
    model_.build();
    if (so_far.follows_step && !settings_.linear_model_only && !model_.fits_affine &&
        !model_.is_affine) {
        model_.update_curvature();
        uses_curvature_ = uses_curvature_ && model_.has_curvature();
        model_.build();
    }
    if (so_far.is_new) so_far.radius = first_radius();
    so_far.follows_step = false;
    so_far.is_new = false;
    so_far.has_model = true;
    so_far.radius_on_arrival = so_far.radius;
    so_far.first_reduction = -1.0;
    return model_.any_column_moves() ? turn::new_model : stop_without_columns(so_far);
}

descent::turn descent::stop_without_columns(const progress& so_far) {
    return stop_for(so_far.has_moved ? stop_code::flat : stop_code::nothing_moves);
}

// ---- Steps --------------------------------------------------------------------------------------

// Tries steps until one is accepted, a new model is due or the descent ends.
descent::turn descent::make_step(progress& so_far) {
    const f64 negligible = std::max(settings_.gradient_tolerance * settings_.gradient_tolerance,
                                    epsilon_of(function_));
    attempts tried;
    for (;;) {
        const proposal step = propose(so_far);
        turn next = turn::retry;
        if (!step.moves || !(step.predicted > 0.0) ||
            (step.predicted <= negligible * work_.current.square && !step.at.region)) {
            next = end_without_reduction(so_far, step, tried);
        } else if (iterations_ >= settings_.iteration_limit) {
            return stop_for(stop_code::too_many_iterations);
        } else {
            ++iterations_;
            const trial_result result = try_step(step);
            if (result.actual > settings_.acceptance * step.predicted)
                return accept(so_far, step, result, tried);
            next = reject(so_far, result, tried);
        }
        if (next != turn::retry) return next;
    }
}

descent::proposal descent::propose(progress& so_far) {
    model_.limit_step(so_far.radius);
    proposal step{};
    step.moves = model_.make_trial(uses_curvature_);
    step.linear = model_.predicted_reduction(false);
    step.quadratic = model_.predicted_reduction(true);
    step.predicted = uses_curvature_ ? step.quadratic : step.linear;
    if (!uses_curvature_ && so_far.first_reduction < 0.0)
        so_far.first_reduction = std::max(step.predicted, 0.0);
    step.at = contact_of_step(so_far.radius);
    return step;
}

// A significant predicted reduction that no step achieved. Residuals are differences of terms about
// as large as those at the start or as the linear terms here, which bounds their rounding errors,
// and so the accuracy of the sum of squares and of the differences.
bool descent::is_noise(f64 first_reduction) const {
    const f64 resolution = 4.0 * epsilon_of(function_) * (start_norm_ + model_.term_size());
    return first_reduction > settings_.noise_tolerance * work_.current.square &&
           first_reduction > resolution * (resolution + 2.0 * std::sqrt(work_.current.square)) &&
           first_reduction > 4.0 * model_.reduction_error(resolution);
}

descent::turn descent::end_without_reduction(progress& so_far, const proposal& step,
                                             const attempts& tried) {
    if (uses_curvature_) { // the linear model may still predict a reduction
        uses_curvature_ = false;
        return turn::retry;
    }
    if (switch_to_central(so_far)) return renew_derivatives(so_far);
    if (tried.is_rejected && is_noise(so_far.first_reduction)) return stop_for(stop_code::noise);
    return stop_for(step.moves ? stop_code::flat : stop_code::small_step);
}

descent::trial_result descent::try_step(const proposal& step) {
    const f64 square = work_.current.square;
    trial_result result{};
    result.actual = square - evaluate_trial(step.predicted);
    result.length = step_length();
    const f64 size =
        std::max(model_.scaled_size(work_.trial.x), model_.scaled_size(work_.current.x));
    result.is_short = result.length <= settings_.step_tolerance * size;
    return result;
}

// The sum of squares at the trial point, after the affine parameters were fitted there, or after
// the second-order correction of a poor predicted reduction.
f64 descent::evaluate_trial(f64 predicted) {
    solver_storage::point& trial = work_.trial;
    const f64 first = model_.evaluate_at(trial);
    if (!model_.fits_affine) {
        const bool is_poor = work_.current.square - first < 0.75 * predicted;
        return is_poor ? std::min(first, model_.correct_trial()) : first;
    }
    if (std::isinf(first)) return first;
    std::copy_n(trial.x, n_, work_.corrected.x);
    std::copy_n(trial.f, m_, work_.corrected.f);
    work_.corrected.square = first;
    affine_.refit(work_.corrected);
    if (model_.evaluate_at(work_.corrected) < first) std::swap(work_.trial, work_.corrected);
    model_.build();
    model_.measure_step();
    return work_.trial.square;
}

descent::turn descent::accept(progress& so_far, const proposal& step, const trial_result& result,
                              const attempts& tried) {
    const f64 other = uses_curvature_ ? step.linear : step.quadratic;
    const f64 actual = result.actual;
    if (model_.has_curvature() &&
        1.5 * std::abs(other - actual) < std::abs(step.predicted - actual))
        uses_curvature_ = !uses_curvature_;
    adapt_radius(so_far, actual / step.predicted, result.length, step.at);
    // A radius that failed with the other model is too large for this one.
    if (tried.has_switched_model) so_far.radius = std::min(so_far.radius, 4.0 * result.length);
    return move_to_trial(so_far, step, result);
}

// Moves to the trial point and tests for convergence.
descent::turn descent::move_to_trial(progress& so_far, const proposal& step,
                                     const trial_result& result) {
    const f64 square = work_.current.square;
    const f64 negligible =
        square *
        std::max(settings_.change_tolerance * settings_.change_tolerance, epsilon_of(function_));
    const bool is_stagnant = result.actual <= negligible && step.predicted <= negligible;
    so_far.stagnant_steps = is_stagnant ? so_far.stagnant_steps + 1 : 0;
    const bool runs_away =
        step.at.unbounded && step.at.region && result.actual <= settings_.change_tolerance * square;
    so_far.boundary_steps = runs_away ? so_far.boundary_steps + 1 : 0;

    so_far.has_moved = true;
    so_far.has_model = false;
    so_far.follows_step = true;
    for (i64 j = 0; j < n_; ++j) {
        const f64 at = std::abs(work_.trial.x[j]);
        work_.largest[j] = std::max(work_.largest[j], at);
        work_.typical[j] = std::max(0.25 * work_.typical[j], at);
        // The change of a widened quotient is no second derivative.
        so_far.follows_step = so_far.follows_step && !work_.is_widened[j];
    }
    std::swap(work_.current, work_.trial);
    std::swap(work_.jacobian, work_.old_jacobian);
    std::swap(work_.gradient, work_.old_gradient);

    if (so_far.boundary_steps >= settings_.boundary_steps) return stop_for(stop_code::far_away);
    const bool is_small = result.is_short && !step.at.region;
    constexpr i32 most_stagnant_steps = 2;
    if (!is_small && so_far.stagnant_steps < most_stagnant_steps) return turn::new_model;
    if (switch_to_central(so_far)) return renew_derivatives(so_far);
    return stop_for(is_small ? stop_code::small_step : stop_code::small_change);
}

// After a rejected step: without widened columns, with the other model, with central differences,
// or with a smaller radius.
descent::turn descent::reject(progress& so_far, const trial_result& result, attempts& tried) {
    tried.is_rejected = true;
    if (model_.drop_widened_columns()) {
        if (!model_.any_column_moves()) return stop_without_columns(so_far);
        model_.build();
        so_far.first_reduction = -1.0;
    } else if (model_.has_curvature() && !tried.has_switched_model) {
        tried.has_switched_model = true;
        uses_curvature_ = !uses_curvature_;
    } else if (result.is_short) {
        if (switch_to_central(so_far)) return renew_derivatives(so_far);
        return stop_for(is_noise(so_far.first_reduction) ? stop_code::noise
                                                         : stop_code::small_step);
    } else {
        so_far.radius = result.length * shrinking(result.actual);
    }
    return turn::retry;
}

} // namespace qmx::numeric
