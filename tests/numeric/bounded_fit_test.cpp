#include "numeric/bounded/bounded_solver.hpp"
#include "support/bounded_fit_call.hpp"

using namespace support;

namespace {

using BoundedFit = silent_fit;

template <class Real> void shifted(const i32& M, const i32&, const Real* x, Real* f) {
    for (i32 i = 0; i < M; ++i) f[i] = x[0] - to<Real>(i + 1);
}
template <int value> void constant(const i32& M, const i32&, const f64*, f64* f) {
    std::fill_n(f, M, value == 0 ? nan64 : value);
}
void exact_line(const i32& M, const i32&, const f64* x, f64* f) {
    for (i32 i = 0; i < M; ++i) f[i] = x[0] - 3.0;
}
void walled(const i32&, const i32&, const f64* x, f64* f) { // falls up to 1, where it ends
    f[0] = x[0] > 1.0 ? nan64 : x[0] * x[0] - 4.0;
    f[1] = 0.1 * x[0];
}
void runaway(const i32&, const i32&, const f64* x, f64* f) {
    f[0] = 1.0;
    f[1] = 1.0 / x[0];
}
void wrong_jacobian(const i32& M, const i32&, const f64*, f64* FJAC, const i32&) {
    std::fill_n(FJAC, M, -1.0);
}

// With the caller's Jacobian no parameter is fitted apart, so that the valley stays curved.
void rosenbrock_jacobian(const i32&, const i32&, const f64* x, f64* FJAC, const i32& LDFJAC) {
    FJAC[0] = -20.0 * x[0];
    FJAC[1] = -1.0;
    FJAC[LDFJAC] = 10.0;
    FJAC[LDFJAC + 1] = 0.0;
}

struct stop_case {
    const char* name;
    residual_routine<f64> residuals;
    jacobian_routine<f64> jacobian;
    i32 m;
    std::vector<double> start, lower, upper;
    i32 ITMAX, evaluate_only;
    std::vector<i32> statuses; // any of these; -7: unchanged
    i32 code;
    const char* message; // its beginning
};

TEST_F(BoundedFit, EachStopCodeHasItsStatusOrItsWarning) {
    // clang-format off
    const stop_case cases[] = {
        {"only_evaluated", shifted<f64>, nullptr, 3, {5}, {0}, {4}, 75, 1, {6}, 0, ""},
        {"no_iterations", shifted<f64>, nullptr, 3, {5}, {0}, {4}, 0, 0, {5}, 0, ""},
        {"nothing_free", shifted<f64>, nullptr, 3, {5}, {4}, {4}, 75, 0, {6}, 0, ""},
        {"nothing_moves", constant<2>, nullptr, 2, {5}, {0}, {9}, 75, 0, {6}, 0, ""},
        {"no_residual", exact_line, nullptr, 2, {5}, {}, {}, 75, 0, {1}, 0, ""},
        {"a_minimum", shifted<f64>, nullptr, 3, {5}, {}, {}, 75, 0, {2, 3, 4}, 0, ""},
        {"at_infinity", runaway, nullptr, 2, {1}, {}, {}, 75, 0, {-7}, 1,
         "The function f(x) has reached a value that may be a local minimum.  However, the bounds"},
        {"not_a_number_at_the_start", constant<0>, nullptr, 2, {5}, {}, {}, 75, 0, {-7}, 2,
         "The model problem solver has noted a value for the linear or quadratic model problem"},
        {"no_step_brings_the_gain", shifted<f64>, wrong_jacobian, 3, {5}, {}, {}, 75, 0, {-7}, 2,
         "The model problem solver has noted a value for the linear or quadratic model problem"},
        {"at_the_end_of_the_numbers", walled, nullptr, 2, {0.5}, {}, {}, 75, 0, {-7}, 2,
         "The model problem solver has noted a value for the linear or quadratic model problem"},
        {"too_many_iterations", rosenbrock<f64>, rosenbrock_jacobian, 2, {-2, 1}, {}, {}, 3, 0, {-7}, 3,
         "More than ITMAX iterations were taken to obtain the solution.  The value obtained"}};
    // clang-format on
    for (const stop_case& each : cases) {
        SCOPED_TRACE(each.name);
        fit_call<f64> call{each.residuals, each.jacobian, each.m,
                           each.start,     each.lower,    each.upper};
        call.limit_iterations(each.ITMAX);
        call.IPARAM[4] = each.evaluate_only;
        call.run();
        EXPECT_TRUE(std::count(each.statuses.begin(), each.statuses.end(), call.status))
            << call.status;
        EXPECT_EQ(call.code, each.code);
        EXPECT_EQ(N1RTY(1), each.code == 0 ? type_none : type_warning);
        const std::string message(each.code != 0 ? last_message() : "");
        EXPECT_EQ(message.substr(0, std::string(each.message).size()), each.message);
        std::vector<f64> f(static_cast<std::size_t>(each.m));
        each.residuals(each.m, static_cast<i32>(call.x.size()), call.x.data(), f.data());
        f64 sum = 0;
        for (const f64 value : f) sum += value * value;
        EXPECT_TRUE(std::isnan(sum) ? std::isnan(call.norm)
                                    : std::abs(call.norm - std::sqrt(sum)) <= 1e-12 * (1 + sum));
    }
}

TEST_F(BoundedFit, AParameterWithoutFiniteDerivativesStays) {
    const auto endless = [](const i32& M, const i32&, const f64*, f64* FJAC, const i32& LDFJAC) {
        std::fill_n(FJAC, M, 1.0);
        std::fill_n(FJAC + LDFJAC, M, inf64);
    };
    const auto sloping = [](const i32& M, const i32&, const f64* x, f64* f) {
        for (i32 i = 0; i < M; ++i) f[i] = x[0] + 0.125 * x[1] - (i + 1);
    };
    fit_call<f64> given{sloping, endless, 3, {5, 8}};
    given.run();
    EXPECT_NEAR(given.x[0], 1.0, 1e-12);
    EXPECT_EQ(given.x[1], 8.0);
    // Known at the start alone: no difference can be formed.
    const auto point = [](const i32&, const i32&, const f64* x, f64* f) {
        f[0] = x[0] == 5.0 ? 3.0 : nan64;
    };
    fit_call<f64> alone{point, nullptr, 1, {5}};
    alone.run();
    EXPECT_EQ(std::pair(alone.x[0], alone.norm), std::pair(5.0, 3.0));
    EXPECT_EQ(alone.status, 6);
}

TEST_F(BoundedFit, TheBestPointOfACutRunComesBack) {
    f64 previous = inf64;
    for (const i32 limit : {1, 2, 4, 8, 16, 32, 64}) {
        fit_call<f64> call{rosenbrock<f64>, rosenbrock_jacobian, 2, {-1.2, 1}};
        call.limit_iterations(limit);
        call.run();
        EXPECT_LE(call.norm, previous);
        previous = call.norm;
    }
    EXPECT_LT(previous, 1e-10);
}

// Without the second-order correction these starts take 13 and 55 steps.
TEST_F(BoundedFit, ACurvedValleyIsFollowedInFewSteps) {
    for (const std::vector<double>& start : {std::vector<double>{-1.2, 1}, {-5, 20}}) {
        fit_call<f64> call{rosenbrock<f64>, rosenbrock_jacobian, 2, start};
        call.limit_iterations(10);
        call.IPARAM[5] = 1;
        call.run();
        EXPECT_LE(call.norm, 1e-10) << start[0];
        EXPECT_EQ(call.code, 0) << start[0];
    }
}

std::vector<f64> first_parameters; // at each call
void square_less_2(const i32&, const i32&, const f64* x, f64* f) {
    first_parameters.push_back(x[0]);
    f[0] = x[0] * x[0] - 2.0;
}
void its_slope(const i32&, const i32&, const f64* x, f64* FJAC, const i32&) {
    FJAC[0] = 2.0 * x[0];
}
void line_beside_5(const i32&, const i32&, const f64* x, f64* f) {
    f[0] = x[0] - 1.0;
    f[1] = 5.0;
}
// Its residuals stay large, so that the linear model alone comes near the minimum at 3 by fifths.
void bent(const i32&, const i32&, const f64* x, f64* f) {
    const f64 t = x[0] - 3.0;
    first_parameters.push_back(x[0]);
    f[0] = t + 1.0;
    f[1] = -0.8 * t * t + t - 1.0;
}
void bent_jacobian(const i32&, const i32&, const f64* x, f64* FJAC, const i32&) {
    FJAC[0] = 1.0;
    FJAC[1] = -1.6 * (x[0] - 3.0) + 1.0;
}

TEST_F(BoundedFit, EachSettingActsAsTabled) {
    const auto run = [](residual_routine<f64> residuals, jacobian_routine<f64> jacobian, i32 m,
                        f64 start, std::size_t place, f64 value) {
        fit_call<f64> call{residuals, jacobian, m, {start}};
        call.limit_iterations(75);
        call.IPARAM[5] = 1;
        if (place < 10) call.RPARAM[place - 1] = value;
        if (place > 10) call.IPARAM[place - 11] = static_cast<i32>(value);
        first_parameters.clear();
        call.run();
        return call;
    };
    constexpr std::size_t none = 10, integer = 10;
    // A gain of 1/26 is negligible at 0.5^2.
    EXPECT_EQ(run(line_beside_5, nullptr, 2, 2, none, 0).x[0], 1.0);
    const auto flat = run(line_beside_5, nullptr, 2, 2, 1, 0.5);
    EXPECT_EQ(std::pair(flat.x[0], flat.status), std::pair(2.0, 2));
    // Newton's first step from 1.5 leads to 17/12.
    EXPECT_NEAR(run(square_less_2, its_slope, 1, 1.5, none, 0).x[0], std::sqrt(2.0), 1e-15);
    const auto short_step = run(square_less_2, its_slope, 1, 1.5, 2, 0.5);
    EXPECT_DOUBLE_EQ(short_step.x[0], 17.0 / 12.0);
    EXPECT_EQ(short_step.status, 3);
    // 27 of 29 are predicted and not achieved.
    EXPECT_EQ(run(shifted<f64>, wrong_jacobian, 3, 5, 4, 0.5).code, 2);
    EXPECT_EQ(run(shifted<f64>, wrong_jacobian, 3, 5, 4, 0.95).code, 0);
    // The first difference, a part of the start; the first radius, in thirtieths.
    run(square_less_2, nullptr, 1, 3, 6, 0x1p-10);
    EXPECT_EQ(std::ranges::count(first_parameters, 3 + 3 * 0x1p-10), 1);
    run(square_less_2, its_slope, 1, 3, 7, 3.0);
    EXPECT_LE(std::ranges::count(first_parameters, 3 - 7.0 / 6.0), 0);
    EXPECT_NEAR(
        *std::ranges::min_element(first_parameters, {}, [](f64 x) { return std::abs(x - 2.7); }),
        2.7, 1e-12);
    // The first step gains 0.962 of what is predicted: too little for 0.97.
    const auto stops_at = [](f64 x) { return std::ranges::count(first_parameters, x); };
    run(square_less_2, its_slope, 1, 3, 5, 0.96);
    const f64 after_it = first_parameters[4];
    run(square_less_2, its_slope, 1, 3, 5, 0.97);
    EXPECT_EQ(stops_at(after_it), 0);
    // The curvature of the residuals saves calls; the minimum is the same.
    EXPECT_NEAR(run(bent, bent_jacobian, 2, 3.6, none, 0).x[0], 3.0, 1e-6);
    const std::size_t calls = first_parameters.size();
    EXPECT_NEAR(run(bent, bent_jacobian, 2, 3.6, integer + 3, 1).x[0], 3.0, 1e-6);
    EXPECT_GT(first_parameters.size(), calls + 10);
    // Two steps with a small gain end the run, near the minimum or not.
    const auto stagnant = run(bent, bent_jacobian, 2, 3.6, 3, 0.5);
    EXPECT_EQ(stagnant.status, 4);
    EXPECT_GT(std::abs(stagnant.x[0] - 3.0), 1e-3);
    // Steps to the boundary until infinity is believed.
    EXPECT_EQ(run(runaway, nullptr, 2, 1, integer + 4, 1).code, 1);
    const f64 soon = run(runaway, nullptr, 2, 1, integer + 4, 1).x[0];
    EXPECT_GT(run(runaway, nullptr, 2, 1, integer + 4, 5).x[0], soon);
}

TEST_F(BoundedFit, ResidualsOfAnySizeAreFitted) {
    static f64 factor;
    for (const f64 size : {1e-150, 1e-20, 1.0, 1e20, 1e150}) {
        factor = size;
        const auto residuals = [](const i32& M, const i32& N, const f64* x, f64* f) {
            rosenbrock(M, N, x, f);
            f[2] = x[0] + x[1];
            for (i32 i = 0; i < M; ++i) f[i] *= factor;
        };
        fit_call<f64> call{residuals, nullptr, 3, {-1.2, 1}};
        call.run();
        const f64 x = call.x[0], y = call.x[1]; // where the gradient vanishes
        EXPECT_NEAR(-400 * x * (y - x * x) - 2 * (1 - x) + 2 * (x + y), 0, 1e-5) << size;
        EXPECT_NEAR(200 * (y - x * x) + 2 * (x + y), 0, 1e-5) << size;
        EXPECT_EQ(call.code, 0) << size;
    }
}

// ---- Refusals ----------------------------------------------------------------------------------

TEST_F(BoundedFit, ArgumentsOutOfRangeAreRefusedUnseenByTheQuery) {
    struct refusal_case {
        i32 M, N, MCON, LDC, IRTYPE, code;
        const char* message;
    };
    const char* const of_type =
        "The value indicating the type of general linear constraint must be "
        "greater than or equal to zero and less than four while IRTYPE(1) = ";
    const refusal_case cases[] = {
        {0, 1, 0, 0, 0, 1, "The number of functions must be positive while M = 0 is given."},
        {1, 0, 0, 0, 0, 2, "The number of variables must be positive while N = 0 is given."},
        {1, 1, -1, 0, 0, 3,
         "The number of general linear constraints must be nonnegative while MCON = -1 is given."},
        {1, 1, 1, 0, 0, 4,
         "The leading dimension of the matrix containing the general linear constraints must be "
         "greater than or equal to to number of constraints while LDC = 0 and MCON = 1."},
        {1, 1, 1, 1, 4, 5, of_type},
        {1, 1, 1, 1, -1, 5, of_type},
        {0, 0, -1, -2, 9, 1, "The number of functions must be positive while M = 0 is given."}};
    for (const refusal_case& each : cases) {
        f32 c = 1, limit = 0, x = 42, norm = 43;
        i32 status = 44;
        const array_view<const f32> one(&limit, 1);
        BCNLS(shifted<f32>, each.M, {&c, 1, 1, 1}, one, one, view_of(&each.IRTYPE, 1), one, one,
              view_of(&x, 1), &each.MCON, &each.N, &each.LDC, nullptr, &norm, &status);
        const std::string tail = each.code == 5 ? std::to_string(each.IRTYPE) + "." : "";
        expect_error(type_terminal, each.code, each.message + tail);
        EXPECT_TRUE(x == 42 && norm == 43 && status == 44) << each.code;
    }
}

TEST_F(BoundedFit, StorageThatCannotBeHadIsRefused) {
    const i32 most = std::numeric_limits<i32>::max();
    i32 IPARAM[6] = {}, status = 44;
    f32 RPARAM[7] = {}, norm = 43;
    bounded_problem<f32> problem{};
    problem.M = problem.N = most;
    bcnls(problem, IPARAM, RPARAM, static_cast<f32*>(nullptr), norm, status);
    expect_error(
        type_terminal, bounded_fit_storage_code,
        "The required storage cannot be allocated.  The workspace allocation is based on M "
        "and N, where M = 2147483647, N = 2147483647 are given.");
}

TEST_F(BoundedFit, AWorkspaceThatIsTooSmallIsRefused) {
    const f64 none[] = {none_below, none_above}, start = 5;
    bounded_problem<f64> problem{};
    problem.FCN = shifted<f64>;
    problem.M = 3;
    problem.N = 1;
    problem.XLB = &none[0];
    problem.XUB = &none[1];
    problem.XGUESS = &start;
    const i64 bytes = b2nls_storage(problem);
    std::vector<f64> storage(static_cast<std::size_t>(bytes) / sizeof(f64) + 1);
    for (const i64 given : {i64{8}, bytes - 8, bytes}) { // not for the limits, not for the solver
        i32 IPARAM[6] = {}, status = 44;
        f64 RPARAM[7] = {}, x = 0, norm = 43;
        b2nls(problem, IPARAM, RPARAM, &x, norm, status,
              reinterpret_cast<std::byte*>(storage.data()), given);
        if (given < bytes) {
            expect_error(type_terminal, 16, "Short on storage.");
            EXPECT_EQ(std::pair(norm, status), std::pair(43.0, 44));
        } else {
            EXPECT_NEAR(x, 2.0, 1e-12);
        }
    }
}

TEST_F(BoundedFit, TheSolverChecksItsOwnList) {
    bounded_problem<f64> problem{};
    problem.FCN = shifted<f64>;
    problem.M = 3;
    problem.N = 1;
    const i64 bytes = b2nls_storage(problem);
    std::vector<f64> storage(static_cast<std::size_t>(bytes) / sizeof(f64) + 1);
    struct list_case {
        i32 M, N, MCON, indicator, option;
        i64 bytes;
        const char* message; // null: accepted
    };
    const list_case cases[] = {
        {3, 1, 0, 4, 99, bytes, nullptr},
        {3, 1, 0, 4, 2, bytes, nullptr},
        {3, 1, 0, 0, 99, bytes, "The bounds indicators must be between 1 and 4."},
        {3, 1, 0, 5, 99, bytes, "The bounds indicators must be between 1 and 4."},
        {3, 1, 0, 4, 3, bytes, "Bad option."},
        {3, 1, 0, 4, 99, 8, "Short on storage."},
        {0, 1, 0, 4, 99, bytes, "The number of equations must be positive, yet M = 0 is given."},
        {3, 0, 0, 4, 99, bytes, "The number of variables must be positive, yet M = 0 is given."},
        {3, 1, -2, 4, 99, bytes,
         "The number of constraints must be nonnegative, yet M = -2 is given."}};
    for (const list_case& each : cases) {
        E1PSH("test ", 5);
        problem.M = each.M;
        problem.N = each.N;
        problem.MCON = each.MCON;
        const solver_option options[] = {{each.option, 75.0}, {option_end, 0.0}};
        const f64 limit = 0.0;
        f64 x = 5.0, norm = 0.0;
        const i32 stop =
            solve_bounded(problem, &each.indicator, &limit, &limit, options, true, &x, norm,
                          reinterpret_cast<std::byte*>(storage.data()), each.bytes);
        EXPECT_EQ(N1RTY(0), each.message != nullptr ? type_terminal : type_none);
        if (each.message != nullptr) {
            EXPECT_EQ(stop, solver_refused);
            EXPECT_EQ(last_message(), each.message);
        } else {
            EXPECT_GE(stop, 2);
            EXPECT_NEAR(x, 2.0, 1e-12);
        }
        E1POP("test ", 5);
    }
}

TEST_F(BoundedFit, TheFrontEndReadsStridedViewsAndFillsOptionalArguments) {
    struct record {
        f64 value, other;
    };
    std::vector<record> lower = {{-1, 0}, {-2, 0}}, upper = {{9, 0}, {8, 0}},
                        x = {{77, 5}, {77, 6}};
    const f64 C[] = {1, 1}, guess[] = {3, 4};
    const f64 limit = 2.0;
    const i32 type = 0;
    f64 norm = -1;
    i32 status = 0;
    const auto residuals = [](const i32&, const i32&, const f64* p, f64* f) {
        f[0] = p[0] - 3.0;
        f[1] = 2.0 * p[1];
    };
    const auto jacobian = [](const i32&, const i32&, const f64*, f64* FJAC, const i32& LDFJAC) {
        FJAC[0] = 1.0;
        FJAC[1] = FJAC[LDFJAC] = 0.0;
        FJAC[LDFJAC + 1] = 2.0;
    };
    for (const f64* start : {static_cast<const f64*>(nullptr), guess}) {
        const bool has_all = start != nullptr;
        DBCLSJ(residuals, jacobian, 2, {C, 1, 2, 1}, view_of(&limit, 1), view_of(&limit, 1),
               view_of(&type, 1),
               column_of(static_cast<const record*>(lower.data()), 2, &record::value),
               column_of(static_cast<const record*>(upper.data()), 2, &record::value),
               column_of(x.data(), 2, &record::value), nullptr, nullptr, nullptr, start,
               has_all ? &norm : nullptr, has_all ? &status : nullptr);
        // (p - 3)^2 + 4 q^2 with p + q = 2: p = 2.2, q = -0.2
        EXPECT_NEAR(x[0].value, 2.2, 1e-10);
        EXPECT_NEAR(x[1].value, -0.2, 1e-10);
        EXPECT_EQ(x[1].other, 6);
    }
    EXPECT_NEAR(norm, std::sqrt(0.64 + 0.16), 1e-10);
    EXPECT_GE(status, 2);
}

} // namespace
