#include "numeric/bounded/trust_region.hpp"

#include "numeric/bounded/local_model.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace qmx::numeric {
namespace {

constexpr f64 infinity = std::numeric_limits<f64>::infinity();

// Places of a parameter between its bounds, as parts of the width: geometric from either end, even
// in between.
constexpr i32 places_across = 48;
constexpr i32 geometric_places = 22; // from the lower end, of ratio 2
constexpr i32 even_places = 16;
constexpr i64 most_searched_parameters = 8;
constexpr i32 most_valleys = 3;  // of one parameter
constexpr f64 worth_while = 2.0; // sum of squares on a valley's side, against the best

f64 part_of_width(i32 place) {
    if (place < geometric_places)
        return std::exp2(static_cast<f64>(place - geometric_places) - 3.0);
    place -= geometric_places;
    if (place < even_places) return 0.125 + 0.8125 * place / even_places;
    place -= even_places;
    constexpr i32 upper_places = places_across - geometric_places - even_places;
    return place == upper_places - 1 ? 1.0 : 1.0 - std::exp2(-4.0 - place);
}

using point = solver_storage::point;

class search {
public:
    search(const residual_function& function, const fit_limits& limits,
           const solver_settings& settings, solver_storage& storage)
        : function_(function), limits_(limits), settings_(settings), work_(storage),
          model_(function, limits, settings, storage), m_(function.m), n_(function.n) {}

    stop_code run(f64* x, f64& norm) {
        point& current = work_.current;
        std::copy_n(x, n_, current.x);
        bool is_finite = choose_residual_scale();
        stop_code code = stop_code::noise;
        const bool is_all = settings_.evaluate_only || settings_.iteration_limit < 1;
        if (!is_all && is_finite && make_feasible()) is_finite = choose_residual_scale();
        if (is_all)
            code = stop_code::nothing_asked;
        else if (!find_free_parameters())
            code = is_finite ? stop_code::nothing_free : stop_code::noise;
        else if (is_finite)
            code = descend_everywhere();
        std::copy_n(current.x, n_, x);
        norm =
            is_finite ? std::sqrt(current.square) / model_.residual_scale : std::abs(current.f[0]);
        return code;
    }

private:
    // ---- Start -----------------------------------------------------------------------------

    // True if the start had to move.
    bool make_feasible() {
        f64* x = work_.current.x;
        std::copy_n(x, n_, work_.trial.x);
        put_within_bounds(limits_, x);
        meet_constraints(limits_, x, work_.feasible, work_.inner);
        put_on_numbers(function_, limits_, x);
        return !std::equal(x, x + n_, work_.trial.x);
    }

    // False where a residual at the start is not finite; f[0] then holds such a one.
    bool choose_residual_scale() {
        point& current = work_.current;
        function_.residuals(function_.context, current.x, current.f);
        f64 largest = 0.0;
        for (i64 i = 0; i < m_; ++i) {
            if (!std::isfinite(current.f[i])) {
                current.f[0] = current.f[i];
                return false;
            }
            largest = std::max(largest, std::abs(current.f[i]));
        }
        constexpr i32 most = 1000;
        if (largest > 0.0)
            model_.residual_scale = std::ldexp(1.0, -std::clamp(std::ilogb(largest), -most, most));
        current.square = 0.0;
        for (i64 i = 0; i < m_; ++i) {
            current.f[i] *= model_.residual_scale;
            current.square += current.f[i] * current.f[i];
        }
        start_norm_ = std::sqrt(current.square);
        return true;
    }

    bool find_free_parameters() {
        bool any = false;
        for (i64 j = 0; j < n_; ++j) {
            work_.is_fixed[j] = !(limits_.lower[j] < limits_.upper[j]);
            any = any || !work_.is_fixed[j];
        }
        return any;
    }

    void copy_point(const point& from, point& to) {
        std::copy_n(from.x, n_, to.x);
        std::copy_n(from.f, m_, to.f);
        to.square = from.square;
    }

    // ---- One descent -------------------------------------------------------------------------

    // Within two bounds a parameter's size is their distance: the model may well reach across.
    f64 first_region() const {
        f64 size = 0.0;
        for (i64 j = 0; j < n_; ++j) {
            const f64 width = limits_.upper[j] - limits_.lower[j];
            const f64 reach = std::isinf(width) ? std::abs(work_.current.x[j]) : width;
            size = std::max(size, reach * work_.scale[j]);
        }
        constexpr f64 unit = 30.0;
        return settings_.first_region / unit * (size > 0.0 ? size : 1.0);
    }

    f64 step_size() const {
        f64 largest = 0.0;
        for (i64 j = 0; j < n_; ++j) largest = std::max(largest, std::abs(work_.step[j]));
        return largest;
    }

    // A gain that was foretold and did not come. Residuals are differences of numbers about as
    // large as the residuals at the start, so that the norm is known to a few spacings there.
    bool is_noise(f64 gain) const {
        const f64 resolution = 4.0 * spacing_of(function_) * start_norm_;
        return gain > settings_.noise_tolerance * work_.current.square &&
               gain > resolution * (resolution + 2.0 * std::sqrt(work_.current.square));
    }

    struct edge {
        bool of_region; // the region stopped the step
        bool is_open;   // where no bound would have
    };
    edge edge_of_step(f64 region) const {
        edge at{false, false};
        for (i64 j = 0; j < n_; ++j) {
            const f64 edge_here = std::min(region, model_.farthest_of(j) * model_.divisor_of(j));
            if (!(std::abs(work_.step[j]) >= 0.999 * edge_here) || work_.step[j] == 0.0) continue;
            const f64 bound = work_.step[j] < 0.0 ? limits_.lower[j] : limits_.upper[j];
            const f64 room = std::abs(bound - work_.current.x[j]) * model_.divisor_of(j);
            at.of_region = at.of_region || room > edge_here;
            at.is_open = at.is_open ||
                         (std::isinf(bound) && std::abs(work_.trial.x[j]) > 1.1 * work_.largest[j]);
        }
        return at;
    }

    // How far one descent has come.
    struct progress {
        f64 region = 0.0;            // half width of the trust region, in scaled parameters
        f64 region_on_arrival = 0.0; // at the current point
        f64 first_gain = -1.0;       // what the linear model foretold there, before any rejection
        bool is_new = true;          // nothing is known of the region
        bool has_model = false;      // of the current point
        bool is_central = false;
        bool has_moved = false;
        bool follows_step = false; // for whose change of the Jacobian the curvature is not made yet
        i32 far_steps = 0, still_steps = 0;
    };

    enum class turn { new_model, stop }; // stop: for the reason in stop_
    turn stop_for(stop_code reason) {
        stop_ = reason;
        return turn::stop;
    }

    void forget_curvature() {
        model_.forget_curvature();
        uses_curvature_ = false;
    }

    // Sends the descent back, once, for better derivatives.
    bool refine(progress& so_far) const {
        if (function_.jacobian != nullptr || so_far.is_central) return false;
        so_far.is_central = true;
        return true;
    }
    turn renew_derivatives(progress& so_far) {
        so_far.has_model = false;
        so_far.region = std::max(so_far.region, so_far.region_on_arrival);
        uses_curvature_ = false;
        return turn::new_model;
    }

    stop_code descend() {
        progress so_far;
        forget_curvature();
        for (i64 j = 0; j < n_; ++j) work_.largest[j] = std::abs(work_.current.x[j]);
        const f64 no_residual = spacing_of(function_) * settings_.gradient_tolerance;
        for (;;) {
            if (work_.current.square <= no_residual * no_residual) return stop_code::small_residual;
            if (!so_far.has_model && make_model(so_far) == turn::stop) return stop_;
            if (so_far.has_model && make_step(so_far) == turn::stop) return stop_;
        }
    }

    // The model at the current point; none where the derivatives came upon a better point.
    turn make_model(progress& so_far) {
        if (!model_.linearise(so_far.is_central)) {
            if (iterations_ >= settings_.iteration_limit)
                return stop_for(stop_code::too_many_iterations);
            ++iterations_;
            so_far.has_moved = true;
            so_far.is_new = true;
            so_far.follows_step = false;
            forget_curvature();
            return turn::new_model;
        }
        model_.update_scale(so_far.is_new);
        model_.build();
        if (so_far.follows_step && !settings_.linear_model_only) {
            model_.update_curvature();
            uses_curvature_ = uses_curvature_ && model_.has_curvature();
            model_.build();
        }
        if (so_far.is_new) so_far.region = first_region();
        so_far.follows_step = false;
        so_far.is_new = false;
        so_far.has_model = true;
        so_far.region_on_arrival = so_far.region;
        so_far.first_gain = -1.0;
        return model_.any_column_moves() ? turn::new_model : stop_without_columns(so_far);
    }

    turn stop_without_columns(const progress& so_far) {
        return stop_for(so_far.has_moved ? stop_code::flat : stop_code::nothing_moves);
    }

    // Tries steps from the current point until one is taken or better derivatives are wanted.
    turn make_step(progress& so_far) {
        const f64 no_gain = std::max(settings_.gradient_tolerance * settings_.gradient_tolerance,
                                     spacing_of(function_));
        const f64 square = work_.current.square;
        bool is_switched = false, is_rejected = false;
        for (;;) {
            model_.limit_step(so_far.region);
            const bool moves = model_.make_trial(uses_curvature_);
            const f64 linear_gain = model_.foretold_gain(false);
            const f64 quadratic_gain = model_.foretold_gain(true);
            const f64 gain = uses_curvature_ ? quadratic_gain : linear_gain;
            if (!uses_curvature_ && so_far.first_gain < 0.0)
                so_far.first_gain = std::max(gain, 0.0);
            const edge at = edge_of_step(so_far.region);
            if (!moves || !(gain > 0.0) || (gain <= no_gain * square && !at.of_region)) {
                if (uses_curvature_) { // the linear model may see further
                    uses_curvature_ = false;
                    continue;
                }
                if (refine(so_far)) return renew_derivatives(so_far);
                if (is_rejected && is_noise(so_far.first_gain)) return stop_for(stop_code::noise);
                return stop_for(moves ? stop_code::flat : stop_code::small_step);
            }
            if (iterations_ >= settings_.iteration_limit)
                return stop_for(stop_code::too_many_iterations);
            ++iterations_;
            f64 fall = square - model_.evaluate_at(work_.trial);
            if (fall < 0.75 * gain) fall = std::max(fall, square - model_.correct_trial());
            const f64 reach = step_size();
            const f64 size =
                std::max(model_.scaled_size(work_.trial.x), model_.scaled_size(work_.current.x));
            const bool is_short = reach <= settings_.step_tolerance * size;

            if (fall > settings_.acceptance * gain) {
                const f64 other = uses_curvature_ ? linear_gain : quadratic_gain;
                if (model_.has_curvature() && 1.5 * std::abs(other - fall) < std::abs(gain - fall))
                    uses_curvature_ = !uses_curvature_;
                adapt_region(so_far, fall / gain, reach, at);
                // A region that only the other model could live with is too large for this one.
                if (is_switched) so_far.region = std::min(so_far.region, 4.0 * reach);
                return take_trial(so_far, fall, gain, is_short, at);
            }
            is_rejected = true;
            if (model_.drop_widened_columns()) {
                if (!model_.any_column_moves()) return stop_without_columns(so_far);
                model_.build();
            } else if (model_.has_curvature() && !is_switched) {
                is_switched = true;
                uses_curvature_ = !uses_curvature_;
            } else if (is_short) {
                if (refine(so_far)) return renew_derivatives(so_far);
                return stop_for(is_noise(so_far.first_gain) ? stop_code::noise
                                                            : stop_code::small_step);
            } else {
                so_far.region = reach * shrinking(fall);
            }
        }
    }

    static void adapt_region(progress& so_far, f64 ratio, f64 reach, const edge& at) {
        if (ratio < 0.25)
            so_far.region = 0.5 * reach;
        else if (ratio > 0.75 && at.of_region)
            so_far.region *= ratio > 0.9 && ratio < 1.1 ? 4.0 : 2.0;
    }

    // Moves to the trial point, and stops if that is the end.
    turn take_trial(progress& so_far, f64 fall, f64 gain, bool is_short, const edge& at) {
        const f64 square = work_.current.square;
        const f64 no_change = std::max(settings_.change_tolerance * settings_.change_tolerance,
                                       spacing_of(function_));
        const bool is_still = fall <= no_change * square && gain <= no_change * square;
        so_far.still_steps = is_still ? so_far.still_steps + 1 : 0;
        const bool is_far =
            at.is_open && at.of_region && fall <= settings_.change_tolerance * square;
        so_far.far_steps = is_far ? so_far.far_steps + 1 : 0;

        so_far.has_moved = true;
        so_far.has_model = false;
        so_far.follows_step = true;
        for (i64 j = 0; j < n_; ++j) {
            work_.largest[j] = std::max(work_.largest[j], std::abs(work_.trial.x[j]));
            // A widened quotient is no derivative to tell a change from.
            so_far.follows_step = so_far.follows_step && !work_.is_widened[j];
        }
        std::swap(work_.current, work_.trial);
        std::swap(work_.jacobian, work_.old_jacobian);
        std::swap(work_.gradient, work_.old_gradient);

        if (so_far.far_steps >= settings_.far_steps) return stop_for(stop_code::far_away);
        const bool is_small = is_short && !at.of_region;
        constexpr i32 most_still_steps = 2;
        if (!is_small && so_far.still_steps < most_still_steps) return turn::new_model;
        if (refine(so_far)) return renew_derivatives(so_far);
        return stop_for(is_small ? stop_code::small_step : stop_code::small_change);
    }

    // The minimum of the parabola through the value and slope here and the value there.
    f64 shrinking(f64 fall) const {
        f64 slope = 0.0;
        for (i64 j = 0; j < n_; ++j) slope += 2.0 * work_.gradient[j] * work_.change[j];
        const f64 part = -slope / (2.0 * (-fall - slope));
        return std::isfinite(part) ? std::clamp(part, 0.1, 0.5) : 0.1;
    }

    // ---- Across the bounds -------------------------------------------------------------------

    static bool is_warning(stop_code code) {
        return code == stop_code::far_away || code == stop_code::noise ||
               code == stop_code::too_many_iterations;
    }

    stop_code descend_everywhere() {
        stop_code code = descend();
        if (!settings_.search_across_bounds || n_ > most_searched_parameters ||
            code == stop_code::small_residual || code == stop_code::too_many_iterations)
            return code;
        copy_point(work_.current, work_.best);
        for (i64 j = 0; j < n_; ++j) {
            if (work_.is_fixed[j] || std::isinf(limits_.lower[j]) || std::isinf(limits_.upper[j]))
                continue;
            survey(j);
            for (i32 valley = 0; valley < most_valleys; ++valley) {
                const i32 place = deepest_valley(work_.best.x[j], j);
                if (place < 0) break;
                std::copy_n(work_.places + place * n_, n_, work_.current.x);
                model_.evaluate_at(work_.current);
                work_.place_squares[place] = infinity;
                const stop_code found = descend();
                const f64 equal = 1.0 + 1e-6;
                const bool ends_better = is_warning(code) && !is_warning(found) &&
                                         work_.current.square <= work_.best.square * equal;
                if (!(work_.current.square < work_.best.square) && !ends_better) continue;
                copy_point(work_.current, work_.best);
                code = found;
            }
        }
        copy_point(work_.best, work_.current);
        return code;
    }

    // Puts parameter j on each of its places, fits the others to it by a linear model, and keeps
    // what that reached.
    void survey(i64 j) {
        work_.is_fixed[j] = true;
        const f64 width = limits_.upper[j] - limits_.lower[j];
        for (i32 place = 0; place < places_across; ++place) {
            point& current = work_.current;
            std::copy_n(work_.best.x, n_, current.x);
            current.x[j] = limits_.lower[j] + width * part_of_width(place);
            put_on_numbers(function_, limits_, current.x);
            model_.evaluate_at(current);
            if (!model_.meets_rows(current.x)) current.square = infinity;
            constexpr i32 most_fits = 2;
            for (i32 fit = 0; fit < most_fits && std::isfinite(work_.current.square); ++fit) {
                if (model_.linearise(false)) {
                    model_.drop_widened_columns();
                    if (!model_.any_column_moves()) break;
                    model_.update_scale(true);
                    model_.build();
                    model_.limit_step(infinity);
                    if (!model_.make_trial(false)) break;
                    if (!(model_.evaluate_at(work_.trial) < work_.current.square)) break;
                    std::swap(work_.current, work_.trial);
                }
            }
            std::copy_n(work_.current.x, n_, work_.places + place * n_);
            work_.place_squares[place] = work_.current.square;
        }
        work_.is_fixed[j] = false;
    }

    // The place with the smallest sum of squares that is lower than its neighbours and does not lie
    // beside where parameter j stands already, unless it is better; -1 where there is none.
    i32 deepest_valley(f64 at, i64 j) const {
        const f64* squares = work_.place_squares;
        const auto x_of = [&](i32 place) { return work_.places[place * n_ + j]; };
        i32 deepest = -1;
        for (i32 place = 0; place < places_across; ++place) {
            const f64 square = squares[place];
            const i32 before = std::max(place - 1, 0);
            const i32 after = std::min(place + 1, places_across - 1);
            if (!(square < worth_while * work_.best.square) || squares[before] < square ||
                squares[after] < square)
                continue;
            const bool is_beside = at >= x_of(before) && at <= x_of(after);
            if (is_beside && !(square < work_.best.square)) continue;
            if (deepest < 0 || square < squares[deepest]) deepest = place;
        }
        return deepest;
    }

    const residual_function& function_;
    const fit_limits& limits_;
    const solver_settings& settings_;
    solver_storage& work_;
    local_model model_;
    i64 m_, n_;
    f64 start_norm_ = 0.0;
    i32 iterations_ = 0;
    bool uses_curvature_ = false;
    stop_code stop_ = stop_code::nothing_asked;
};

point take_point(storage_plan& plan, i64 m, i64 n) {
    f64* x = plan.take<f64>(n);
    return {x, plan.take<f64>(m), infinity};
}

} // namespace

solver_storage::solver_storage(storage_plan& plan, i64 m, i64 n, i64 constraints)
    : current(take_point(plan, m, n)), trial(take_point(plan, m, n)), best(take_point(plan, m, n)),
      widened(take_point(plan, m, n)), jacobian(plan.take<f64>(m, n)),
      old_jacobian(plan.take<f64>(m, n)), factors(plan.take<f64>(m, n)), beta(plan.take<f64>(n)),
      rotated(plan.take<f64>(m)), model(plan.take<f64>(std::min(m, n), n)),
      curvature(plan.take<f64>(n, n)), scaled_curvature(plan.take<f64>(n, n)),
      scaled_rows(plan.take<f64>(constraints, n)), scale(plan.take<f64>(n)),
      largest(plan.take<f64>(n)), step(plan.take<f64>(n)), change(plan.take<f64>(n)),
      old_step(plan.take<f64>(n)), old_change(plan.take<f64>(n)), gradient(plan.take<f64>(n)),
      old_gradient(plan.take<f64>(n)), lower(plan.take<f64>(n)), upper(plan.take<f64>(n)),
      row_lower(plan.take<f64>(constraints)), row_upper(plan.take<f64>(constraints)),
      places(plan.take<f64>(places_across, n)), place_squares(plan.take<f64>(places_across)),
      is_fixed(plan.take<bool>(n)),
      is_widened(plan.take<bool>(n)), differences{plan.take<f64>(n), plan.take<f64>(m),
                                                  plan.take<f64>(m)},
      inner(plan, n + constraints, std::max(n, constraints), constraints),
      feasible(plan, n, constraints) {}

stop_code minimise(const residual_function& function, const fit_limits& limits,
                   const solver_settings& settings, solver_storage& storage, f64* x, f64& norm) {
    return search(function, limits, settings, storage).run(x, norm);
}

} // namespace qmx::numeric
