#include "numeric/bounded/bounded_solver.hpp"

#include "base/elementary_functions.hpp"
#include "numeric/arithmetic/machine.hpp"
#include "numeric/bounded/trust_region.hpp"
#include "numeric/errors/numeric_frame.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <type_traits>

namespace qmx::numeric {
namespace {

// ---- Settings ----------------------------------------------------------------------------------

template <class Real> Real relative_spacing();
template <> f32 relative_spacing() {
    return AMACH(4);
}
template <> f64 relative_spacing() {
    return DMACH(4);
}

} // namespace

template <class Real> settings_table<Real> default_settings() {
    const Real root = std::sqrt(relative_spacing<Real>());
    const Real small = static_cast<Real>(1.0e-5);
    const Real tolerance = std::min(root, small);
    return {{1, 75, 0, 5, 0, 0},
            {tolerance, tolerance, tolerance, small, small, root, static_cast<Real>(30.0)}};
}

namespace {

template <class Real> solver_settings settings_without_options() {
    const settings_table<Real> defaults = default_settings<Real>();
    const auto real = [&](std::size_t i) { return static_cast<f64>(defaults.reals[i]); };
    return {.iteration_limit = defaults.integers[1],
            .linear_model_only = false,
            .boundary_steps = defaults.integers[3],
            .evaluate_only = false,
            .search_across_bounds = true,
            .gradient_tolerance = real(0),
            .step_tolerance = real(1),
            .change_tolerance = real(2),
            .noise_tolerance = real(3),
            .acceptance = real(4),
            .relative_difference = real(5),
            .central_difference = 0.0, // from relative_difference, once that is known
            .first_region = real(6)};
}

// False for an unknown option code.
bool apply(const solver_option& option, solver_settings& settings) {
    switch (option.code) {
    case option_iterations: settings.iteration_limit = truncated(option.value); return true;
    case option_gradient: settings.gradient_tolerance = option.value; return true;
    case option_step: settings.step_tolerance = option.value; return true;
    case option_change: settings.change_tolerance = option.value; return true;
    case option_noise: settings.noise_tolerance = option.value; return true;
    case option_acceptance: settings.acceptance = option.value; return true;
    case option_difference: settings.relative_difference = option.value; return true;
    case option_region: settings.first_region = option.value; return true;
    case option_linear_only: settings.linear_model_only = option.value == 1.0; return true;
    case option_boundary_steps: settings.boundary_steps = truncated(option.value); return true;
    case option_evaluate_only: settings.evaluate_only = option.value == 1.0; return true;
    default: return false;
    }
}

constexpr i32 no_lower_or_upper = 4;

// ---- The caller's routines ----------------------------------------------------------------------

// The caller's routines with the arrays that they read and write.
template <class Real> struct caller {
    const bounded_problem<Real>& problem;
    Real* x;
    Real* f;
    Real* derivatives;

    void set_x(const f64* from) {
        for (i64 j = 0; j < problem.N; ++j) x[j] = static_cast<Real>(from[j]);
    }
    static void residuals(void* context, const f64* from, f64* to) {
        caller& self = *static_cast<caller*>(context);
        self.set_x(from);
        self.problem.FCN(self.problem.M, self.problem.N, self.x, self.f);
        for (i64 i = 0; i < self.problem.M; ++i) to[i] = static_cast<f64>(self.f[i]);
    }
    static void jacobian(void* context, const f64* from, f64* to) {
        caller& self = *static_cast<caller*>(context);
        self.set_x(from);
        self.problem.JAC(self.problem.M, self.problem.N, self.x, self.derivatives, self.problem.M);
        const i64 count = i64{self.problem.M} * self.problem.N;
        for (i64 i = 0; i < count; ++i) to[i] = static_cast<f64>(self.derivatives[i]);
    }
};

template <class Real> struct fit_storage {
    fit_storage(storage_plan& plan, i64 m, i64 n, i64 constraints, bool has_jacobian)
        : x(plan.take<Real>(n)), f(plan.take<Real>(m)),
          derivatives(plan.take<Real>(has_jacobian ? m : 0, n)), start(plan.take<f64>(n)),
          lower(plan.take<f64>(n)), upper(plan.take<f64>(n)), rows(plan.take<f64>(constraints, n)),
          row_lower(plan.take<f64>(constraints)), row_upper(plan.take<f64>(constraints)),
          solver(plan, m, n, constraints) {}

    Real *x, *f, *derivatives;
    f64 *start, *lower, *upper, *rows, *row_lower, *row_upper;
    solver_storage solver;
};

// ---- Limits -------------------------------------------------------------------------------------

struct interval {
    f64 lower, upper;
};

// The limits that an indicator selects; a NaN is ignored.
interval interval_of(i32 indicator, f64 lower, f64 upper) {
    constexpr f64 infinity = std::numeric_limits<f64>::infinity();
    const bool has_lower = (indicator == 1 || indicator == 3) && !std::isnan(lower);
    const bool has_upper = (indicator == 2 || indicator == 3) && !std::isnan(upper);
    return {has_lower ? lower : -infinity, has_upper ? upper : infinity};
}

// limit / factor, rounded inward until factor * bound meets the limit.
f64 bound_from_row(const residual_function& function, f64 factor, f64 limit, f64 inward) {
    f64 bound = limit / factor;
    if (!std::isfinite(bound)) return bound;
    bound = nearest_parameter(function, bound);
    const bool is_lower_limit = (inward > 0.0) == (factor > 0.0);
    constexpr i32 most_ulps = 4;
    for (i32 k = 0; k < most_ulps; ++k) { // GCOVR_EXCL_BR_LINE: a rounded quotient is an ulp off
        const f64 value = factor * bound;
        if (is_lower_limit ? value >= limit : value <= limit) break;
        bound = next_parameter(function, bound, inward);
    }
    return bound;
}

// A row with one coefficient is a bound; XLB and XUB take precedence.
void tighten_bound(const residual_function& function, f64 coefficient, const interval& limits,
                   f64& lower, f64& upper) {
    constexpr f64 infinity = std::numeric_limits<f64>::infinity();
    const bool rises = coefficient > 0.0;
    const f64 from =
        bound_from_row(function, coefficient, rises ? limits.lower : limits.upper, infinity);
    const f64 to =
        bound_from_row(function, coefficient, rises ? limits.upper : limits.lower, -infinity);
    const f64 new_upper = std::clamp(to, lower, upper);
    lower = std::min(std::clamp(from, lower, upper), new_upper);
    upper = new_upper;
}

// Splits the limits: bounds and rows with one nonzero coefficient become bounds of the parameters,
// rows with several become constraints. Returns the number of constraints.
template <class Real>
i64 split_limits(const bounded_problem<Real>& problem, const i32* indicators, const Real* lower,
                 const Real* upper, const residual_function& function,
                 const fit_storage<Real>& storage) {
    const i64 n = problem.N;
    for (i64 j = 0; j < n; ++j) {
        const interval bounds =
            interval_of(indicators[j], static_cast<f64>(lower[j]), static_cast<f64>(upper[j]));
        storage.upper[j] = bounds.upper;
        storage.lower[j] = std::min(bounds.lower, bounds.upper); // crossed: the upper bound
    }
    const auto coefficient = [&](i64 i, i64 j) {
        return static_cast<f64>(problem.C[i + j * i64{problem.LDC}]);
    };
    i64 kept = 0;
    for (i64 i = 0; i < problem.MCON; ++i) {
        i64 used = 0, last = 0;
        bool is_finite = true;
        for (i64 j = 0; j < n; ++j) {
            is_finite = is_finite && std::isfinite(coefficient(i, j));
            if (coefficient(i, j) == 0.0) continue;
            ++used;
            last = j;
        }
        if (!is_finite || used == 0) continue;
        const interval limits = interval_of(indicators[n + i], static_cast<f64>(lower[n + i]),
                                            static_cast<f64>(upper[n + i]));
        if (used > 1) {
            for (i64 j = 0; j < n; ++j) storage.rows[kept + j * problem.MCON] = coefficient(i, j);
            storage.row_lower[kept] = std::min(limits.lower, limits.upper);
            storage.row_upper[kept] = limits.upper;
            ++kept;
            continue;
        }
        tighten_bound(function, coefficient(i, last), limits, storage.lower[last],
                      storage.upper[last]);
    }
    return kept;
}

} // namespace

template <class Real> i64 solver_bytes(const bounded_problem<Real>& problem) {
    storage_plan plan;
    const fit_storage<Real> counted(plan, problem.M, problem.N, problem.MCON,
                                    problem.JAC != nullptr);
    return plan.bytes();
}

namespace {

// Checks sizes, indicators, options (which it applies to settings) and workspace. True if an error
// was posted.
template <class Real>
bool refuse(const bounded_problem<Real>& problem, const i32* indicators,
            const solver_option* options, i64 bytes, solver_settings& settings) {
    const auto refused = [](i32 code, std::string_view message, i32 value = 0) {
        E1STI(1, value);
        post(type_terminal, code, message);
        return true;
    };
    if (problem.M < 1)
        return refused(11, "The number of equations must be positive, yet M = %(i1) is given.",
                       problem.M);
    if (problem.N < 1)
        return refused(12, "The number of variables must be positive, yet M = %(i1) is given.",
                       problem.N);
    if (problem.MCON < 0)
        return refused(13, "The number of constraints must be nonnegative, yet M = %(i1) is given.",
                       problem.MCON);
    for (i64 k = 0; k < i64{problem.N} + problem.MCON; ++k)
        if (indicators[k] < 1 || indicators[k] > no_lower_or_upper)
            return refused(14, "The bounds indicators must be between 1 and 4.");
    for (const solver_option* option = options; option->code != option_end; ++option)
        if (!apply(*option, settings)) return refused(15, "Bad option.");
    if (bytes < solver_bytes(problem)) return refused(16, "Short on storage.");
    return false;
}

} // namespace

template <class Real>
i32 solve_bounded(const bounded_problem<Real>& problem, const i32* indicators, const Real* lower,
                  const Real* upper, const solver_option* options, bool searches, Real* X,
                  Real& RNORM, std::byte* storage, i64 bytes) {
    solver_settings settings = settings_without_options<Real>();
    if (refuse(problem, indicators, options, bytes, settings)) return solver_refused;
    settings.search_across_bounds = searches;
    settings.central_difference = power(settings.relative_difference, 2.0 / 3.0);

    storage_plan plan(storage);
    fit_storage<Real> work(plan, problem.M, problem.N, problem.MCON, problem.JAC != nullptr);
    caller<Real> context{problem, work.x, work.f, work.derivatives};
    const residual_function function{problem.M,
                                     problem.N,
                                     &context,
                                     &caller<Real>::residuals,
                                     problem.JAC != nullptr ? &caller<Real>::jacobian : nullptr,
                                     std::is_same_v<Real, f32>};
    for (i64 j = 0; j < problem.N; ++j) {
        const interval bounds =
            interval_of(indicators[j], static_cast<f64>(lower[j]), static_cast<f64>(upper[j]));
        work.start[j] = std::min(std::max(static_cast<f64>(X[j]), bounds.lower), bounds.upper);
    }
    const i64 rows = split_limits(problem, indicators, lower, upper, function, work);
    const fit_limits limits{work.lower,
                            work.upper,
                            {work.rows, rows, problem.N, problem.MCON},
                            work.row_lower,
                            work.row_upper};
    f64 norm = 0.0;
    const stop_code stop = minimise(function, limits, settings, work.solver, work.start, norm);
    for (i64 j = 0; j < problem.N; ++j) X[j] = static_cast<Real>(work.start[j]);
    RNORM = static_cast<Real>(norm);
    return static_cast<i32>(stop);
}

template settings_table<f32> default_settings();
template settings_table<f64> default_settings();
template i64 solver_bytes(const bounded_problem<f32>&);
template i64 solver_bytes(const bounded_problem<f64>&);
template i32 solve_bounded(const bounded_problem<f32>&, const i32*, const f32*, const f32*,
                           const solver_option*, bool, f32*, f32&, std::byte*, i64);
template i32 solve_bounded(const bounded_problem<f64>&, const i32*, const f64*, const f64*,
                           const solver_option*, bool, f64*, f64&, std::byte*, i64);

} // namespace qmx::numeric
