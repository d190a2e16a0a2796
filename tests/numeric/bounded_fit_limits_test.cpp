#include "support/bounded_fit_call.hpp"

using namespace support;

namespace {

using BoundedFitLimits = silent_fit;

// A far deeper valley lies at x = 9, behind a ridge, than the one at 1.
template <class Real> void two_valleys(const i32&, const i32&, const Real* x, Real* f) {
    f[0] = (x[0] - to<Real>(1)) * (x[0] - to<Real>(9)) / to<Real>(4);
    f[1] = to<Real>(0.25) * (x[0] - to<Real>(9.5));
}

// 2 exp(-t / 2), of which the amplitude and the rate are looked for.
template <class Real> void decay(const i32& M, const i32&, const Real* x, Real* f) {
    for (i32 i = 0; i < M; ++i) {
        const Real t = to<Real>(i + 1);
        f[i] = x[0] * std::exp(-x[1] * t) - to<Real>(2) * std::exp(-t / to<Real>(2));
    }
}

struct limited_case {
    const char* name;
    residual_routine<f64> residuals;
    residual_routine<f32> single_residuals;
    i32 m;
    std::vector<double> start, lower, upper;
    std::vector<row> rows;
    std::vector<double> solution;
    std::vector<double> a = {}, b = {}; // of linear residuals
    bool holds_rows = true;
    double tolerance = 1e-7;
};

std::vector<limited_case> limited_cases() {
    const std::vector<double> wide_low(5, -10.0), wide_high(5, 10.0);
    const std::vector<double> identity = {1, 0, 0, 1}, origin = {0, 0};
    const std::vector<row> three_rows = {
        {{1, 3, 0, 0, 0}, 0, 0, 0}, {{0, 0, 1, 1, -2}, 3, 0, 0}, {{0, 1, 0, 0, -1}, 0, 0, 0}};
    const auto over = [](std::vector<double> values, double divisor) {
        for (double& value : values) value /= divisor;
        return values;
    };
    // Roots of the derivative on the line y = 1.5, on x + y = 1, and along x.
    const std::vector<double> nine = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    std::vector<double> unit_rows(81, 0.0);
    for (std::size_t j = 0; j < 81; j += 10) unit_rows[j] = 1.0;
    const double cut = 1.2243707487363527, x = 0.6187956190750253, deeper = 9.007670569141856;
    // clang-format off
    return {
        {"valley_inside_its_bounds", rosenbrock<f64>, rosenbrock<f32>, 2,
         {-2, 1}, {-5, -1.5}, {5, 5}, {}, {1, 1}},
        {"valley_cut_by_a_bound", rosenbrock<f64>, rosenbrock<f32>, 2,
         {2, 2}, {-5, 1.5}, {5, 5}, {}, {cut, 1.5}},
        {"valley_cut_by_a_constraint", rosenbrock<f64>, rosenbrock<f32>, 2,
         {-1, 1}, {-5, -5}, {5, 5}, {{{1, 1}, 1, 0, 1}}, {x, 1 - x}},
        {"two_coupled_valleys", wood<f64>, wood<f32>, 6,
         {-3, -1, -3, -1}, {-10, -10, -10, -10}, {10, 10, 10, 10}, {}, {1, 1, 1, 1}},
        {"bound_and_constraint", linear<f64>, linear<f32>, 2, {-1, -1}, {2, -50}, {50, 50},
         {{{10, -1}, 2, 10, 0}}, {2, 0}, {0.1, 0, 0, 1}, origin, true, 1e-6},
        {"equality", linear<f64>, linear<f32>, 2, {-4, 1, 1}, {}, {}, {{{1, 2, 3}, 0, 1, 1}},
         {0.5, -0.5, 0.5}, {1, 1, 0, 0, 1, 1}, origin},
        {"three_equalities", linear<f64>, linear<f32>, 4, {2, 2, 2, 2, 2}, {}, {}, three_rows,
         over({-33, 11, 180, -158, 11}, 349),
         {4, -1, 0, 0, 0, 0, 1, 1, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 1}, {0, 2, 1, 1}},
        {"three_equalities_in_bounds", linear<f64>, linear<f32>, 4, {2, 2, 2, 2, 2}, wide_low,
         wide_high, three_rows, over({-33, 11, 27, -5, 11}, 43),
         {1, -1, 0, 0, 0, 0, 1, 1, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 1}, {0, 2, 1, 1}},
        {"corner_of_three_constraints", linear<f64>, linear<f32>, 2, {10, 10}, {}, {},
         {{{1, 2}, 2, 4, 0}, {{3, 1}, 2, 6, 0}, {{1, 1}, 1, 0, 100}}, {1.6, 1.2}, identity, origin},
        {"constraints_that_cannot_hold", linear<f64>, linear<f32>, 2, {0, 0}, {0, 0}, {1, 1},
         {{{1, 1}, 2, 10, 0}}, {1, 1}, identity, origin, false},
        {"crossed_bounds", linear<f64>, linear<f32>, 2, {0, 0}, {3, 3}, {2, 5}, {}, {2, 3}, identity,
         origin},
        {"one_sided_bounds", linear<f64>, linear<f32>, 3, {7, -7, 7},
         {3, none_below, none_below}, {none_above, -4, none_above}, {}, {3, -4, 0},
         {1, 0, 0, 0, 1, 0, 0, 0, 1}, {0, 0, 0}},
        {"row_with_one_coefficient", linear<f64>, linear<f32>, 2, {0, 0}, {-9, -9}, {9, 9},
         {{{0, -2}, 1, 0, -5}, {{3, 0}, 3, 6, 7}}, {2, 2.5}, identity, origin},
        {"bounds_win_over_such_a_row", linear<f64>, linear<f32>, 2, {0, 0}, {-9, -9}, {9, 1},
         {{{0, 1}, 2, 5, 0}}, {0, 1}, identity, origin, false},
        {"limits_that_are_nan", linear<f64>, linear<f32>, 2, {5, 5}, {nan64, 1}, {9, nan64},
         {{{1, 1}, 2, nan64, 0}, {{nan64, 1}, 2, 8, 0}}, {0, 1}, identity, origin, false},
        {"more_parameters_than_are_searched", linear<f64>, linear<f32>, 9, std::vector<double>(9, 0.5),
         {}, {}, {}, nine, unit_rows, nine},
        {"fixed_amplitude_and_a_start_on_a_plateau", decay<f64>, decay<f32>, 5,
         {2, 40}, {2, none_below}, {2, none_above}, {}, {2, 0.5}},
        {"deeper_valley_behind_a_ridge", two_valleys<f64>, two_valleys<f32>, 2,
         {0}, {0}, {12}, {}, {deeper}}};
    // clang-format on
}

template <class Real>
void check_limited(const limited_case& given, residual_routine<Real> residuals) {
    SCOPED_TRACE(given.name);
    linear_a = given.a;
    linear_b = given.b;
    fit_call<Real> call{residuals,   nullptr,     given.m,   given.start,
                        given.lower, given.upper, given.rows};
    run_watched(call);
    EXPECT_EQ(call.code, 0) << last_message();
    const double tolerance = std::is_same_v<Real, f32> ? 3e-3 : given.tolerance;
    for (std::size_t j = 0; j < given.solution.size(); ++j)
        EXPECT_NEAR(call.x[j], given.solution[j], tolerance * (1 + std::abs(given.solution[j])))
            << j;
    for (const row& each : given.rows) {
        if (!given.holds_rows) break;
        double value = 0, size = 0;
        for (std::size_t j = 0; j < each.coefficients.size(); ++j) {
            const double product = static_cast<double>(to<Real>(each.coefficients[j])) *
                                   static_cast<double>(call.x[j]);
            value += product;
            size += std::abs(product);
        }
        // An inequality holds exactly, an equality to within rounding.
        const double epsilon = static_cast<double>(std::numeric_limits<Real>::epsilon());
        const double slack = each.lower == each.upper ? 4.0 * epsilon * size : 0.0;
        EXPECT_GE(value, each.type != 1 ? each.lower - slack : -inf64);
        EXPECT_LE(value, each.type != 2 ? each.upper + slack : inf64);
    }
}

TEST_F(BoundedFitLimits, KeepsLimitsAndFindsTheKnownSolution) {
    for (const limited_case& each : limited_cases()) {
        check_limited<f64>(each, each.residuals);
        check_limited<f32>(each, each.single_residuals);
    }
}

// Of a convex problem a feasible point x is a minimum exactly if no feasible point lies downhill:
// gradient . (q - x) >= 0 for all feasible q.
TEST_F(BoundedFitLimits, NoFeasiblePointLiesDownhillOfARandomLinearFit) {
    std::mt19937 engine(20240607);
    const auto uniform = [&](double from, double to_value) {
        return std::uniform_real_distribution<double>(from, to_value)(engine);
    };
    for (int trial = 0; trial < 400; ++trial) {
        SCOPED_TRACE(trial);
        const int n = 1 + trial % 6, m = 1 + trial % 9, constraints = trial % 5;
        linear_a.clear();
        linear_b.clear();
        for (int k = 0; k < n * m; ++k) linear_a.push_back(uniform(-2, 2));
        for (int i = 0; i < m; ++i) linear_b.push_back(uniform(-5, 5));
        fit_call<f64> call{linear<f64>, nullptr, m, {}};
        for (int j = 0; j < n; ++j) {
            call.start.push_back(uniform(-4, 4));
            call.lower.push_back(uniform(-3, 0)); // the origin is feasible
            call.upper.push_back(uniform(0, 3));
        }
        for (int i = 0; i < constraints; ++i) {
            row each{{}, i % 4, uniform(-1, 0), uniform(0, 1)};
            for (int j = 0; j < n; ++j)
                each.coefficients.push_back(uniform(0, 1) < 0.3 ? 0.0 : uniform(-1, 1));
            if (each.type == 1) each.lower = -1e9;
            if (each.type == 2) each.upper = 1e9;
            call.rows.push_back(each);
        }
        run_watched(call);
        ASSERT_EQ(call.code, 0);

        const auto feasible_part = [&](const std::vector<double>& q) { // of the way from the origin
            double part = 1.0;
            const auto cut = [&](double value, double low, double high) {
                if (value < low) part = std::min(part, low / value);
                if (value > high) part = std::min(part, high / value);
            };
            for (std::size_t j = 0; j < q.size(); ++j) cut(q[j], call.lower[j], call.upper[j]);
            for (const row& each : call.rows) {
                double value = 0;
                for (std::size_t j = 0; j < q.size(); ++j) value += each.coefficients[j] * q[j];
                cut(value, each.lower, each.upper);
            }
            return part;
        };
        EXPECT_GE(feasible_part(call.x), 1.0 - 1e-12);

        std::vector<double> f(static_cast<std::size_t>(m)), gradient(call.x.size());
        linear(m, n, call.x.data(), f.data());
        double size = 1.0;
        for (std::size_t j = 0; j < gradient.size(); ++j)
            for (std::size_t i = 0; i < f.size(); ++i) {
                gradient[j] += linear_a[i * gradient.size() + j] * f[i];
                size += std::abs(linear_a[i * gradient.size() + j] * f[i]);
            }
        double worst = 0.0;
        for (int sample = 0; sample < 200; ++sample) {
            std::vector<double> q(call.x.size());
            for (double& value : q) value = uniform(-4, 4);
            const double part = feasible_part(q);
            double slope = 0.0;
            for (std::size_t j = 0; j < q.size(); ++j)
                slope += gradient[j] * (part * q[j] - call.x[j]);
            worst = std::min(worst, slope);
        }
        EXPECT_GE(worst, -1e-6 * size);
    }
}

TEST_F(BoundedFitLimits, FirstResidualsAreThoseOfTheStartProjectedOntoTheBounds) {
    static std::vector<f32> first;
    first.clear();
    const auto residuals = [](const i32&, const i32&, const f32* x, f32* f) {
        if (first.empty()) first.assign(x, x + 4);
        for (int i = 0; i < 4; ++i) f[i] = x[i] - 7.0F;
    };
    fit_call<f32> call{residuals, nullptr, 4, {0, 0, 0, 0}};
    call.lower = {1, none_below, 3, none_below};
    call.upper = {9, -2, 2, none_above};
    call.rows = {{{0, 0, 0, 1}, 2, 5, 0}}; // takes no part in the projection
    call.run();
    EXPECT_EQ(first, (std::vector<f32>{1, -2, 2, 0}));
    EXPECT_EQ(call.x[2], 2.0F);
    EXPECT_NEAR(call.x[3], 7.0F, 1e-5F);
}

TEST_F(BoundedFitLimits, APlateauOfTheArithmeticIsNoMinimum) {
    // 1 - exp(-h/x) is 1 in f32, derivative and all, until x is many times the start.
    const auto residuals = [](const i32& M, const i32&, const f32* x, f32* f) {
        for (i32 i = 0; i < M; ++i) {
            const f32 h = 50.0F * static_cast<f32>(i + 1);
            f[i] = 1.0F - std::exp(-h / x[0]) - (1.0F - std::exp(-h / 40.0F));
        }
    };
    for (const std::vector<double>& upper : {std::vector<double>{}, std::vector<double>{1000}}) {
        const std::vector<double> lower(upper.size(), 1.0);
        fit_call<f32> call{residuals, nullptr, 6, {1}, lower, upper};
        call.run();
        EXPECT_NEAR(call.x[0], 40.0F, 0.01F);
        EXPECT_EQ(call.code, 0);
    }
}

} // namespace
