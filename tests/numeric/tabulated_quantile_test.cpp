// Quantiles from tables: straight lines by hand, cubics that the curve must meet exactly, and the
// normal distribution in both directions.
#include "numeric/distributions/tabulated_quantile.hpp"
#include "support/expect_error.hpp"

#include <boost/math/distributions/normal.hpp>

using namespace qmx;
using namespace qmx::numeric;

namespace {

enum interpolation : i32 { lines = 1, lines_of_quantiles, curve, curve_of_quantiles };

struct table {
    std::vector<f32> x, f;
    table turned() const { return {f, x}; }
    i32 rows() const { return static_cast<i32>(x.size()); }
};

f32 quantile(f32 p, const table& t, i32 option) {
    ERSET(0, 0, 0);
    return GCIN(p, t.x.data(), t.f.data(), t.rows(), option);
}

table tabulate(const std::function<f64(f64)>& function, f64 from, f64 to, int intervals) {
    table t;
    for (int i = 0; i <= intervals; ++i) {
        t.x.push_back(static_cast<f32>(from + (to - from) * i / intervals));
        t.f.push_back(static_cast<f32>(function(f64{t.x.back()})));
    }
    return t;
}

TEST(TabulatedQuantile, StraightLinesReadTheSameInBothDirections) {
    const table distribution = {{10, 20, 40}, {0, 0.5F, 1}};
    struct {
        f32 p, expected;
    } const rows[] = {{0, 10}, {0.25F, 15}, {0.5F, 20}, {0.75F, 30}, {0.875F, 35}, {1, 40}};
    for (const auto& row : rows) {
        EXPECT_EQ(quantile(row.p, distribution, lines), row.expected);
        EXPECT_EQ(quantile(row.p, distribution.turned(), lines_of_quantiles), row.expected);
    }
    // The columns are not to be mistaken for each other: here both could be probabilities.
    const table ambiguous = {{0, 0.25F, 1}, {0, 0.75F, 1}};
    EXPECT_EQ(quantile(0.5F, ambiguous, lines), 0.25F * 2 / 3);
    EXPECT_EQ(quantile(0.5F, ambiguous, lines_of_quantiles), 0.75F + 0.25F / 3);
}

TEST(TabulatedQuantile, ALevelDistributionGivesItsLeastValueAndAStepOfTheQuantilesItsPlace) {
    const table level = {{1, 2, 3, 4, 5}, {0, 0.25F, 0.25F, 0.25F, 1}};
    for (const i32 option : {lines, curve}) {
        EXPECT_EQ(quantile(0.25F, level, option), 2.0F) << option;
        EXPECT_EQ(quantile(0, level, option), 1.0F) << option;
        EXPECT_GT(quantile(std::nextafter(0.25F, 1.0F), level, option), 4.0F - 1e-6F) << option;
        EXPECT_LT(quantile(std::nextafter(0.25F, 0.0F), level, option), 2.0F + 1e-6F) << option;
    }
    const table constant = {{0, 0.4F, 0.6F, 1}, {3, 7, 7, 9}};
    for (const i32 option : {lines_of_quantiles, curve_of_quantiles})
        EXPECT_EQ(quantile(0.5F, constant, option), 7.0F) << option;
}

TEST(TabulatedQuantile, CurvesMeetACubicExactly) {
    const auto cubic = [](f64 p) { return p * p * p - 0.75 * p * p + p + 3; };
    table quantiles = {{0, 0.1F, 0.25F, 0.625F, 1}, {}};
    for (const f32 p : quantiles.x) quantiles.f.push_back(static_cast<f32>(cubic(f64{p})));
    // v = cubic(p) is also the distribution function of some variable p, scaled to 0 to 1.
    const auto distribution = [&](f64 x) { return 0.5 * (x * x * x + x); };
    const table values = tabulate(distribution, 0, 1, 4); // exact: multiples of 1/4
    for (f32 p = 0.01F; p < 1; p += 0.037F) {
        EXPECT_NEAR(quantile(p, quantiles, curve_of_quantiles), cubic(f64{p}), 5e-7);
        const f32 x = quantile(p, values, curve);
        EXPECT_NEAR(distribution(f64{x}), p, 1e-7) << p;
    }
    // Cardano's solution of x^3 + x = 1.
    EXPECT_FLOAT_EQ(quantile(0.5F, values, curve), 0.6823278038280193F);
}

TEST(TabulatedQuantile, CurvesOfTheNormalDistributionConvergeWithTheFourthPower) {
    const boost::math::normal_distribution<f64> normal;
    const auto worst_error = [&](int intervals, bool of_quantiles) {
        const table t =
            of_quantiles
                ? tabulate([&](f64 p) { return boost::math::quantile(normal, p); }, 0.02, 0.98,
                           intervals)
                : tabulate([&](f64 x) { return boost::math::cdf(normal, x); }, -3, 3, intervals);
        f64 worst = 0;
        for (f32 p = 0.05F; p < 0.96F; p += 0.0043F) {
            const f32 got = quantile(p, t, of_quantiles ? curve_of_quantiles : curve);
            worst = std::max(worst, std::abs(f64{got} - boost::math::quantile(normal, f64{p})));
        }
        return worst;
    };
    struct {
        bool of_quantiles;
        int intervals;
        f64 bound;
    } const rows[] = {{false, 12, 5e-3}, {true, 40, 2e-3}};
    for (const auto& row : rows) {
        const f64 coarse = worst_error(row.intervals, row.of_quantiles);
        EXPECT_LT(coarse, row.bound) << row.of_quantiles;
        EXPECT_LT(worst_error(2 * row.intervals, row.of_quantiles), coarse / 10);
        EXPECT_LT(worst_error(8 * row.intervals, row.of_quantiles), 2e-6) << row.of_quantiles;
    }
}

TEST(TabulatedQuantile, CurvesNeverFallWhateverTheTable) {
    const table tables[] = {{{0, 1, 2, 3, 4, 5}, {0, 0, 0.01F, 0.99F, 1, 1}},
                            {{0, 0.001F, 50, 50.001F, 100}, {0.1F, 0.45F, 0.46F, 0.9F, 0.91F}},
                            {{-1e30F, -1, 0, 1e-30F, 1e30F}, {0, 0.25F, 0.5F, 0.5F, 1}}};
    for (const table& t : tables) {
        f32 before = -inf32;
        for (f32 p = t.f.front(); p <= t.f.back(); p += 0.001F) {
            const f32 x = quantile(p, t, curve);
            EXPECT_GE(x, before) << p;
            EXPECT_GE(x, t.x.front());
            EXPECT_LE(x, t.x.back());
            before = x;
        }
        for (std::size_t i = 1; i < t.f.size(); ++i)
            if (t.f[i - 1] < t.f[i]) {
                EXPECT_EQ(quantile(t.f[i], t, curve), t.x[i]);
            }
    }
    const table steps = {{0, 0.2F, 0.21F, 0.5F, 1}, {-5, -5, 100, 100, 100.5F}};
    f32 before = -inf32;
    for (f32 p = 0; p <= 1; p += 0.001F) {
        const f32 x = quantile(p, steps, curve_of_quantiles);
        EXPECT_GE(x, before) << p;
        EXPECT_LE(x, 100.5F) << p;
        before = x;
    }
}

void expect_refusal(i32 code, i32 option, f32 p, const table& t, std::string_view message = "|") {
    EXPECT_TRUE(std::isnan(quantile(p, t, option))) << code;
    support::expect_error(type_terminal, code, message);
}

TEST(TabulatedQuantile, RefusesTablesAndProbabilitiesThatMakeNoSense) {
    const table good = {{1, 2, 3, 4}, {0.1F, 0.2F, 0.3F, 0.9F}};
    expect_refusal(1, lines, 0.5F, {{1}, {0.5F}},
                   "If linear interpolation is desired (IOPT = 1 or 2), the number of ordinates "
                   "must be greater than 1.  IOPT = 1, M = 1.");
    expect_refusal(2, curve_of_quantiles, 0.5F, {{0, 0.5F, 1}, {1, 2, 3}},
                   "If curve fitting is desired (IOPT = 3 or 4), the number of ordinates must be "
                   "greater than 3.  IOPT = 4, M = 3.");
    expect_refusal(4, 0, 0.5F, good, "IOPT = 0.  IOPT must be 1, 2, 3, or 4.");
    expect_refusal(4, 5, 0.5F, good);
    expect_refusal(5, lines, 0.5F, {{1, 1}, {0, 1}},
                   "X(1) = 1 and X(2) = 1.  The abscissas must be strictly increasing.");
    expect_refusal(5, lines, 0.5F, {{1, nan32, 3}, {0, 0.5F, 1}});
    expect_refusal(6, curve, 0.5F, {{1, 2, 3, 4}, {0, 0.5F, 0.4F, 1}},
                   "F(2) = 0.5 and F(3) = 0.4.  The ordinates must not decrease.");
    expect_refusal(6, lines, 0.5F, {{1, 2}, {0, nan32}});
    expect_refusal(7, lines, 0.5F, {{1, 2}, {0, 1.5F}});
    expect_refusal(7, lines_of_quantiles, 0.5F, {{-0.5F, 1}, {1, 2}});
    expect_refusal(8, curve, 0.05F, good,
                   "P = 0.05.  P must be in the range of the table, from 0.1 to 0.9.");
    for (const f32 p : {0.95F, nan32}) expect_refusal(8, lines, p, good);
    expect_refusal(9, lines, 0.5F, {{1, inf32}, {0, 1}});
    expect_refusal(9, lines, 0.5F, {{-inf32, 1}, {0, 1}});
    expect_refusal(9, lines_of_quantiles, 0.5F, {{0, 1}, {1, inf32}});
    EXPECT_EQ(quantile(0.2F, good, curve), 2.0F);
    EXPECT_EQ(N1RTY(1), 0) << "after refusals";
}

} // namespace
