#include "numeric/bounded/trust_region.hpp"

#include "numeric/bounded/affine_parameters.hpp"
#include "numeric/bounded/descent.hpp"
#include "numeric/bounded/local_model.hpp"
#include "numeric/bounded/multistart.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

namespace qmx::numeric {
namespace {

using point = solver_storage::point;

// One fit: from the caller's start to the solution.
class fit {
public:
    fit(const residual_function& function, const fit_limits& limits,
        const solver_settings& settings, solver_storage& storage)
        : function_(function), limits_(limits), settings_(settings), work_(storage),
          model_(function, limits, settings, storage), affine_(function, limits, storage, model_),
          descent_(function, limits, settings, storage, model_, affine_),
          multistart_(function, limits, settings, storage, model_, affine_, descent_),
          m_(function.m), n_(function.n) {}

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
            code = multistart_.run(start_norm_);
        std::copy_n(current.x, n_, x);
        norm =
            is_finite ? std::sqrt(current.square) / model_.residual_scale : std::abs(current.f[0]);
        return code;
    }

private:
    // True if the start had to move.
    bool make_feasible() {
        f64* x = work_.current.x;
        std::copy_n(x, n_, work_.trial.x);
        put_within_bounds(limits_, x);
        meet_constraints(limits_, x, work_.feasible, work_.inner);
        round_to_representable(function_, limits_, x);
        return !std::equal(x, x + n_, work_.trial.x);
    }

    // False where a residual at the start is not finite; f[0] then holds it.
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

    const residual_function& function_;
    const fit_limits& limits_;
    const solver_settings& settings_;
    solver_storage& work_;
    local_model model_;
    affine_parameters affine_;
    descent descent_;
    multistart multistart_;
    i64 m_, n_;
    f64 start_norm_ = 0.0;
};

point take_point(storage_plan& plan, i64 m, i64 n) {
    f64* x = plan.take<f64>(n);
    return {x, plan.take<f64>(m), std::numeric_limits<f64>::infinity()};
}

} // namespace

solver_storage::solver_storage(storage_plan& plan, i64 m, i64 n, i64 constraints)
    : current(take_point(plan, m, n)), trial(take_point(plan, m, n)), best(take_point(plan, m, n)),
      corrected(take_point(plan, m, n)), jacobian(plan.take<f64>(m, n)),
      old_jacobian(plan.take<f64>(m, n)), factors(plan.take<f64>(m, n)), beta(plan.take<f64>(n)),
      rotated(plan.take<f64>(m)), model(plan.take<f64>(std::min(m, n), n)),
      curvature(plan.take<f64>(n, n)), scaled_curvature(plan.take<f64>(n, n)),
      scaled_rows(plan.take<f64>(constraints, n)), scale(plan.take<f64>(n)),
      largest(plan.take<f64>(n)), step(plan.take<f64>(n)), change(plan.take<f64>(n)),
      old_step(plan.take<f64>(n)), old_change(plan.take<f64>(n)), gradient(plan.take<f64>(n)),
      old_gradient(plan.take<f64>(n)), lower(plan.take<f64>(n)), upper(plan.take<f64>(n)),
      row_lower(plan.take<f64>(constraints)), row_upper(plan.take<f64>(constraints)),
      typical(plan.take<f64>(n)), difference_lengths(plan.take<f64>(n)),
      divisors(plan.take<f64>(n)), far_x(plan.take<f64>(n)), start(plan.take<f64>(n)),
      places(plan.take<f64>(most_places, n)), place_values(plan.take<f64>(most_places)),
      place_squares(plan.take<f64>(most_places)), previous_f(plan.take<f64>(m)),
      is_fixed(plan.take<bool>(n)), is_widened(plan.take<bool>(n)), is_affine(plan.take<bool>(n)),
      is_scanned(plan.take<bool>(n)), differences{plan.take<f64>(n), plan.take<f64>(m),
                                                  plan.take<f64>(m)},
      inner(plan, n + constraints, std::max(n, constraints), constraints),
      feasible(plan, n, constraints) {}

stop_code minimise(const residual_function& function, const fit_limits& limits,
                   const solver_settings& settings, solver_storage& storage, f64* x, f64& norm) {
    return fit(function, limits, settings, storage).run(x, norm);
}

} // namespace qmx::numeric
