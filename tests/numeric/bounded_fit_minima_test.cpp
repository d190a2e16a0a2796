#include "support/bounded_fit_call.hpp"
#include "support/semivariogram_profile.hpp"

using namespace support;

namespace {

using BoundedFitMinima = silent_fit;

template <class Real> void powell_singular(const i32&, const i32&, const Real* x, Real* f) {
    f[0] = x[0] + to<Real>(10) * x[1];
    f[1] = to<Real>(std::sqrt(5.0)) * (x[2] - x[3]);
    f[2] = (x[1] - to<Real>(2) * x[2]) * (x[1] - to<Real>(2) * x[2]);
    f[3] = to<Real>(std::sqrt(10.0)) * (x[0] - x[3]) * (x[0] - x[3]);
}
template <class Real> void bilinear(const i32&, const i32&, const Real* x, Real* f) {
    f[0] = x[0] - to<Real>(1);
    f[1] = x[1] - to<Real>(2);
    f[2] = x[0] * x[1];
}
template <class Real> void freudenstein(const i32&, const i32&, const Real* x, Real* f) {
    f[0] = to<Real>(-13) + x[0] + ((to<Real>(5) - x[1]) * x[1] - to<Real>(2)) * x[1];
    f[1] = to<Real>(-29) + x[0] + ((x[1] + to<Real>(1)) * x[1] - to<Real>(14)) * x[1];
}

// Curves of a semivariogram, at distances curve_h.
std::vector<double> curve_h, curve_y;
template <class Real> void exponential(const i32& M, const i32&, const Real* x, Real* f) {
    for (std::size_t i = 0; i < static_cast<std::size_t>(M); ++i)
        f[i] = (to<Real>(1) - std::exp(to<Real>(3) * to<Real>(curve_h[i]) / -x[0])) * x[1] -
               to<Real>(curve_y[i]);
}
template <class Real> void power_law(const i32& M, const i32&, const Real* x, Real* f) {
    for (std::size_t i = 0; i < static_cast<std::size_t>(M); ++i)
        f[i] = std::pow(to<Real>(curve_h[i]), x[1]) * x[0] - to<Real>(curve_y[i]);
}

struct minimum_case {
    const char* name;
    residual_routine<f64> residuals;
    residual_routine<f32> single_residuals;
    i32 m;
    std::vector<double> start, lower, upper;
    std::vector<row> rows;
    double best, allowed; // norm, and what rounding adds to it in f32
    int most_calls;
};

template <class Real>
void expect_minimum(const minimum_case& each, residual_routine<Real> residuals) {
    SCOPED_TRACE(each.name + std::string(std::is_same_v<Real, f32> ? " f32" : " f64"));
    fit_call<Real> call{residuals, nullptr, each.m, each.start, each.lower, each.upper, each.rows};
    run_watched(call);
    EXPECT_EQ(call.code, 0);
    EXPECT_LE(call.norm, 1.001 * each.best + (std::is_same_v<Real, f32> ? each.allowed : 1e-7));
    EXPECT_LE(watched_calls, each.most_calls);
}

TEST_F(BoundedFitMinima, OrdinaryEndsAtTheBestPointInFewCalls) {
    linear_a = {9, -6, 5, 4, -8, 1, -4, 6, 7, 0};
    linear_b = {58, -74, 37, 82, 75};
    const std::vector<double> ten(2, 10.0), minus_ten(2, -10.0);
    // clang-format off
    const minimum_case cases[] = {
        {"linear", linear<f64>, linear<f32>, 5, {0, 0}, minus_ten, ten, {}, 149.679, 1e-3, 20},
        {"bilinear", bilinear<f64>, bilinear<f32>, 3, {0, 0}, {0, 0}, {1, 1}, {{{1, 1}, 1, 0, 1}},
         std::sqrt(2.0), 1e-5, 300},
        {"minimum_behind_another", freudenstein<f64>, freudenstein<f32>, 2, {0.5, -2}, minus_ten, ten, {},
         0, 1e-3, 400},
        {"singular_jacobian", powell_singular<f64>, powell_singular<f32>, 4, {3, -1, 0, 1}, {}, {}, {},
         0, 1e-8, 400},
        {"saddle_point", wood<f64>, wood<f32>, 6, {-3, -1, -3, -1}, {}, {}, {}, 0, 1e-3, 900}};
    // clang-format on
    for (const minimum_case& each : cases) {
        expect_minimum<f64>(each, each.residuals);
        expect_minimum<f32>(each, each.single_residuals);
    }
}

// Bounds of the model fit: from 1 and 0.05 to the greatest semivariance.
minimum_case semivariogram(const char* name, bool is_power, double best, int most_calls) {
    const double greatest = *std::max_element(curve_y.begin(), curve_y.end());
    double size = 0;
    for (const double y : curve_y) size += y * y;
    minimum_case each{name,
                      exponential<f64>,
                      exponential<f32>,
                      static_cast<i32>(curve_h.size()),
                      {0, 0},
                      {1, 0.05},
                      {greatest, greatest},
                      {},
                      best,
                      1e-5 * std::sqrt(size),
                      most_calls};
    if (is_power) each.residuals = power_law<f64>, each.single_residuals = power_law<f32>;
    return each;
}

TEST_F(BoundedFitMinima, RoundingOfASaturatedSemivariogramIsNotNoise) {
    curve_h = {0, 38.0856, 90.2352, 129.141, 175.138};
    curve_y = {0, 275.423828, 275.461365, 275.461365, 275.461365};
    expect_minimum<f32>(semivariogram("saturated", false, 0, 300), exponential<f32>);
    // At the bound of the range differences of rounded residuals promise what no step achieves.
    curve_h = {0,           25.51152611,  38.2870903,   50.95059204,  70.18605042, 85.29462433,
               97.48828125, 113.11428833, 129.45817566, 145.78596497, 163.50746155};
    curve_y = {0,          2.26507807, 2.92503667, 3.38612485, 3.84085512, 4.06263351,
               4.18529463, 4.29286957, 4.36540604, 4.41165876, 4.44314623};
    expect_minimum<f32>(semivariogram("noise", false, 2.20434380, 400), exponential<f32>);
}

TEST_F(BoundedFitMinima, RandomSemivariogramsAreFittedToTheProfilesMinimum) {
    std::mt19937 engine(7);
    const auto uniform = [&](double from, double up_to) {
        return from + (up_to - from) * (static_cast<double>(engine()) / 4294967296.0);
    };
    int calls = 0;
    constexpr int trials = 300;
    for (int trial = 0; trial < trials; ++trial) {
        const bool is_power = trial % 3 == 2;
        const double lag = std::exp(uniform(0, 3.5)), noise = trial % 2 == 0 ? 0.0 : 0.1;
        const double shape = is_power ? uniform(0.1, 2.2) : lag * std::exp(uniform(-1, 4));
        const double scale = std::exp(uniform(1, 7));
        curve_h.clear();
        curve_y.clear();
        for (int k = 0; k < 4 + trial % 20; ++k) {
            const double h = k * lag * uniform(0.95, 1.05);
            const double y = is_power ? std::pow(h, shape) : -std::expm1(-3 * h / shape);
            curve_h.push_back(static_cast<f32>(h));
            curve_y.push_back(static_cast<f32>(scale * y * (1 + uniform(-noise, noise))));
        }
        const std::string name = std::to_string(trial);
        const double greatest = *std::max_element(curve_y.begin(), curve_y.end());
        const double least = is_power ? 0.05 : 1.0, other = is_power ? 1.0 : 0.05;
        const double best = profile{curve_h, curve_y, is_power, other, greatest}.scan(
            least, is_power ? 8.0 : greatest, 2000);
        const minimum_case each = semivariogram(name.c_str(), is_power, best, 1000);
        expect_minimum<f32>(each, each.single_residuals);
        calls += watched_calls;
    }
    EXPECT_LE(calls, 200 * trials);
}

} // namespace
