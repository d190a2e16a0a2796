#include "numeric/bounded/bounded_fit.hpp"

#include "base/work_array.hpp"
#include "numeric/arithmetic/storage_plan.hpp"
#include "numeric/bounded/bounded_solver.hpp"
#include "numeric/errors/numeric_frame.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace qmx::numeric {
namespace {

// ---- Settings ----------------------------------------------------------------------------------

constexpr i32 integer_options[integer_settings] = {
    0, option_iterations, option_linear_only, option_boundary_steps, option_evaluate_only, 0};
constexpr i32 real_options[real_settings] = {option_gradient, option_step,       option_change,
                                             option_noise,    option_acceptance, option_difference,
                                             option_region};

// The settings that differ from the defaults.
using option_list = std::array<solver_option, integer_settings + real_settings + 1>;

template <class Real> option_list options_of(const i32* IPARAM, const Real* RPARAM) {
    const settings_table<Real> defaults = default_settings<Real>();
    option_list list;
    std::size_t count = 0;
    for (std::size_t i = 0; i < integer_settings; ++i)
        if (integer_options[i] != 0 && IPARAM[i] != defaults.integers[i])
            list[count++] = {integer_options[i], static_cast<f64>(IPARAM[i])};
    for (std::size_t i = 0; i < real_settings; ++i)
        if (RPARAM[i] != defaults.reals[i])
            list[count++] = {real_options[i], static_cast<f64>(RPARAM[i])};
    list[count] = {option_end, 0.0};
    return list;
}

// ---- Refusals ----------------------------------------------------------------------------------

bool refuse(i32 code, std::string_view message, i32 first, i32 second = 0) {
    E1STI(1, first);
    E1STI(2, second);
    post(type_terminal, code, message);
    return true;
}

template <class Real> bool refuse_sizes(const bounded_problem<Real>& problem) {
    if (problem.M < 1)
        return refuse(1, "The number of functions must be positive while M = %(i1) is given.",
                      problem.M);
    if (problem.N < 1)
        return refuse(2, "The number of variables must be positive while N = %(i1) is given.",
                      problem.N);
    if (problem.MCON < 0)
        return refuse(3,
                      "The number of general linear constraints must be nonnegative while MCON = "
                      "%(i1) is given.",
                      problem.MCON);
    if (problem.LDC < problem.MCON)
        return refuse(4,
                      "The leading dimension of the matrix containing the general linear "
                      "constraints must be greater than or equal to to number of constraints while "
                      "LDC = %(i1) and MCON = %(i2).",
                      problem.LDC, problem.MCON);
    return false;
}

template <class Real> bool refuse_types(const bounded_problem<Real>& problem) {
    for (i32 i = 0; i < problem.MCON; ++i)
        if (problem.IRTYPE[i] < 0 || problem.IRTYPE[i] > 3)
            return refuse(5,
                          "The value indicating the type of general linear constraint must be "
                          "greater than or equal to zero and less than four while IRTYPE(%(i1)) = "
                          "%(i2).",
                          i + 1, problem.IRTYPE[i]);
    return false;
}

void refuse_storage(i32 M, i32 N) {
    refuse(bounded_fit_storage_code,
           "The required storage cannot be allocated.  The workspace allocation is based on M and "
           "N, where M = %(i1), N = %(i2) are given.",
           M, N);
}

// The part of the workspace that b2nls uses itself; the solver gets the rest.
template <class Real> struct limit_storage {
    limit_storage(storage_plan& plan, i64 n, i64 constraints)
        : lower(plan.take<Real>(n + constraints)), upper(plan.take<Real>(n + constraints)),
          indicators(plan.take<i32>(n + constraints)) {}

    Real *lower, *upper;
    i32* indicators;
};

template <class Real> i64 limit_bytes(i64 n, i64 constraints) {
    storage_plan plan;
    const limit_storage<Real> counted(plan, n, constraints);
    return plan.bytes();
}

// Indicators and limits of the parameters and, after them, of the constraints.
template <class Real>
void fill_limits(const bounded_problem<Real>& problem, const limit_storage<Real>& limits) {
    constexpr Real none = static_cast<Real>(1.0e30);
    constexpr i32 row_indicators[] = {3, 2, 1, 3};
    for (i64 j = 0; j < problem.N; ++j) {
        const bool has_lower = problem.XLB[j] != none;
        const bool has_upper = problem.XUB[j] != -none;
        limits.indicators[j] = has_lower ? (has_upper ? 3 : 1) : (has_upper ? 2 : 4);
        limits.lower[j] = problem.XLB[j];
        limits.upper[j] = problem.XUB[j];
    }
    for (i64 i = 0; i < problem.MCON; ++i) {
        const i64 at = problem.N + i;
        limits.indicators[at] = row_indicators[problem.IRTYPE[i]];
        limits.lower[at] = problem.BL[i];
        limits.upper[at] = problem.BU[i];
    }
}

// ---- The stop code ------------------------------------------------------------------------------

void report_stop(i32 stop, i32 evaluate_only, i32& ISTAT) {
    switch (stop) {
    case 2: ISTAT = 1; break;
    case 3:
        post(type_warning, 1,
             "The function f(x) has reached a value that may be a local minimum.  However, the "
             "bounds on the trust region defining the size of the step are being hit at each step. "
             " Situations of this type can occur when the solution is at infinity in some of the "
             "components of the unknown, x.");
        break;
    case 4: ISTAT = 2; break;
    case 5:
        post(type_warning, 2,
             "The model problem solver has noted a value for the linear or quadratic model problem "
             "residual vector length that is greater than or equal to the current value of the "
             "function.  This situation probably means that the evaluation of f(x) has more "
             "uncertainty or noise than is possible to account for in the tolerances used to note "
             "a local minimum.  The value for x is suspect but a minimum has probably been found.");
        break;
    case 6: ISTAT = 3; break;
    case 7: ISTAT = 4; break;
    case 8:
        post(type_warning, 3,
             "More than ITMAX iterations were taken to obtain the solution.  The value obtained "
             "for x is suspect, although it is the best set of x values that occurred in the "
             "entire computation.  See the description of the IPARAM vector directions on how to "
             "increase ITMAX.");
        break;
    case -1: ISTAT = evaluate_only == 1 ? 6 : 5; break;
    default: ISTAT = 6; break;
    }
}

// ---- Array front ends ---------------------------------------------------------------------------

template <class T> void gather(const array_view<const T>& view, i64 count, T* to) {
    for (i64 i = 0; i < count; ++i) to[i] = view(i + 1);
}

template <class Real> struct gathered {
    gathered(storage_plan& plan, i64 n, i64 constraints)
        : BL(plan.take<Real>(constraints)), BU(plan.take<Real>(constraints)),
          XLB(plan.take<Real>(n)), XUB(plan.take<Real>(n)), start(plan.take<Real>(n)),
          X(plan.take<Real>(n)), IRTYPE(plan.take<i32>(constraints)) {}

    Real *BL, *BU, *XLB, *XUB, *start, *X;
    i32* IRTYPE;
};

template <class Real> struct front_end_arguments {
    const coefficient_view<Real>& C;
    const array_view<const Real>&BL, &BU;
    const array_view<const i32>& IRTYPE;
    const array_view<const Real>&XLB, &XUB;
    const array_view<Real>& X;
    const i32 *MCON, *NVAR, *LDC;
    const Real* XGUESS;
    Real* RNORM;
    i32* ISTAT;
};

i32 size_of(const i32* given, i64 extent) {
    constexpr i64 most = std::numeric_limits<i32>::max();
    return given != nullptr ? *given : static_cast<i32>(std::clamp<i64>(extent, -1, most));
}

template <class Real>
bounded_problem<Real> problem_of(residual_routine<Real> FCN, jacobian_routine<Real> JAC, i32 M,
                                 const front_end_arguments<Real>& given) {
    bounded_problem<Real> problem{};
    problem.FCN = FCN;
    problem.JAC = JAC;
    problem.M = M;
    problem.N = size_of(given.NVAR, given.C.columns);
    problem.MCON = size_of(given.MCON, given.C.rows);
    problem.C = given.C.first;
    problem.LDC = size_of(given.LDC, given.C.leading);
    return problem;
}

template <class Real>
void gather_all(const front_end_arguments<Real>& given, i64 n, i64 constraints,
                const gathered<Real>& arrays) {
    gather(given.BL, constraints, arrays.BL);
    gather(given.BU, constraints, arrays.BU);
    gather(given.IRTYPE, constraints, arrays.IRTYPE);
    gather(given.XLB, n, arrays.XLB);
    gather(given.XUB, n, arrays.XUB);
    std::fill_n(arrays.start, n, Real{});
    for (i64 j = 0; j < n; ++j) arrays.X[j] = given.X(j + 1);
}

template <class Real>
void front_end(std::string_view core_name, bounded_problem<Real> problem,
               const front_end_arguments<Real>& given) {
    // Sizes that the core refuses allocate nothing.
    const i64 n = std::max(problem.N, 0), constraints = std::max(problem.MCON, 0);
    storage_plan counted;
    static_cast<void>(gathered<Real>(counted, n, constraints));
    const work_array<std::byte> block(counted.bytes());
    if (!block) {
        const numeric_frame frame(core_name);
        refuse_storage(problem.M, problem.N);
        return;
    }
    storage_plan plan(block.data());
    const gathered<Real> arrays(plan, n, constraints);
    const bool is_valid =
        problem.M > 0 && problem.N > 0 && problem.MCON >= 0 && problem.LDC >= problem.MCON;
    if (is_valid) gather_all(given, n, constraints, arrays);
    problem.BL = arrays.BL;
    problem.BU = arrays.BU;
    problem.IRTYPE = arrays.IRTYPE;
    problem.XLB = arrays.XLB;
    problem.XUB = arrays.XUB;
    problem.XGUESS = given.XGUESS != nullptr ? given.XGUESS : arrays.start;

    std::array<i32, integer_settings> IPARAM{}; // IPARAM(1) is 0: the defaults
    std::array<Real, real_settings> RPARAM{};
    Real norm = given.RNORM != nullptr ? *given.RNORM : Real{};
    i32 status = given.ISTAT != nullptr ? *given.ISTAT : 0;
    bcnls(problem, IPARAM.data(), RPARAM.data(), arrays.X, norm, status);
    if (is_valid)
        for (i64 j = 0; j < n; ++j) given.X(j + 1) = arrays.X[j];
    if (given.RNORM != nullptr) *given.RNORM = norm;
    if (given.ISTAT != nullptr) *given.ISTAT = status;
}

// Names on the routine stack of the error state.
template <class Real> struct names;
template <> struct names<f32> {
    static constexpr std::string_view core = "bcnls ", inner = "b2nls ";
};
template <> struct names<f64> {
    static constexpr std::string_view core = "dbclsj ", inner = "d2clsj ";
};

} // namespace

template <class Real> i64 b2nls_storage(const bounded_problem<Real>& problem) {
    const i64 solver = solver_bytes(problem);
    return solver + limit_bytes<Real>(problem.N, problem.MCON);
}

template <class Real>
void b2nls(const bounded_problem<Real>& problem, i32* IPARAM, Real* RPARAM, Real* X, Real& RNORM,
           i32& ISTAT, std::byte* storage, i64 bytes) {
    const numeric_frame frame(names<Real>::inner);
    if (refuse_sizes(problem) || refuse_types(problem)) return;
    if (IPARAM[0] == 0) {
        const settings_table<Real> defaults = default_settings<Real>();
        std::copy(defaults.integers.begin(), defaults.integers.end(), IPARAM);
        std::copy(defaults.reals.begin(), defaults.reals.end(), RPARAM);
    }
    const i64 used = limit_bytes<Real>(problem.N, problem.MCON);
    if (bytes < used) {
        post(type_terminal, 16, "Short on storage.");
        return;
    }
    storage_plan plan(storage);
    const limit_storage<Real> limits(plan, problem.N, problem.MCON);

    fill_limits(problem, limits);
    std::copy_n(problem.XGUESS, problem.N, X);
    const option_list options = options_of(IPARAM, RPARAM);
    const bool searches = IPARAM[5] != 1;
    const i32 stop =
        solve_bounded(problem, limits.indicators, limits.lower, limits.upper, options.data(),
                      searches, X, RNORM, storage + used, bytes - used);
    if (stop != solver_refused) report_stop(stop, IPARAM[4], ISTAT);
}

template <class Real>
void bcnls(const bounded_problem<Real>& problem, i32* IPARAM, Real* RPARAM, Real* X, Real& RNORM,
           i32& ISTAT) {
    const numeric_frame frame(names<Real>::core);
    if (refuse_sizes(problem)) return;
    const i64 bytes = b2nls_storage(problem);
    const bool is_possible = bytes < storage_plan::beyond_all_memory;
    const work_array<std::byte> storage(is_possible ? bytes : 0);
    if (!storage || !is_possible) {
        refuse_storage(problem.M, problem.N);
        return;
    }
    b2nls(problem, IPARAM, RPARAM, X, RNORM, ISTAT, storage.data(), bytes);
}

void BCNLS(residual_routine<f32> FCN, const i32& M, const coefficient_view<f32>& C,
           const array_view<const f32>& BL, const array_view<const f32>& BU,
           const array_view<const i32>& IRTYPE, const array_view<const f32>& XLB,
           const array_view<const f32>& XUB, const array_view<f32>& X, const i32* MCON,
           const i32* NVAR, const i32* LDC, const f32* XGUESS, f32* RNORM, i32* ISTAT) {
    const front_end_arguments<f32> given{C,    BL,   BU,  IRTYPE, XLB,   XUB,  X,
                                         MCON, NVAR, LDC, XGUESS, RNORM, ISTAT};
    front_end(names<f32>::core, problem_of<f32>(FCN, nullptr, M, given), given);
}

void DBCLSJ(residual_routine<f64> FCN, jacobian_routine<f64> JAC, const i32& M,
            const coefficient_view<f64>& C, const array_view<const f64>& BL,
            const array_view<const f64>& BU, const array_view<const i32>& IRTYPE,
            const array_view<const f64>& XLB, const array_view<const f64>& XUB,
            const array_view<f64>& X, const i32* MCON, const i32* NVAR, const i32* LDC,
            const f64* XGUESS, f64* RNORM, i32* ISTAT) {
    const front_end_arguments<f64> given{C,    BL,   BU,  IRTYPE, XLB,   XUB,  X,
                                         MCON, NVAR, LDC, XGUESS, RNORM, ISTAT};
    front_end(names<f64>::core, problem_of<f64>(FCN, JAC, M, given), given);
}

template i64 b2nls_storage(const bounded_problem<f32>&);
template i64 b2nls_storage(const bounded_problem<f64>&);
template void bcnls(const bounded_problem<f32>&, i32*, f32*, f32*, f32&, i32&);
template void bcnls(const bounded_problem<f64>&, i32*, f64*, f64*, f64&, i32&);
template void b2nls(const bounded_problem<f32>&, i32*, f32*, f32*, f32&, i32&, std::byte*, i64);
template void b2nls(const bounded_problem<f64>&, i32*, f64*, f64*, f64&, i32&, std::byte*, i64);
} // namespace qmx::numeric
