// The reliability adjustment against its formula's limits, the maturity fit against curves with
// known parameters.
#include "support/expect_event.hpp"
#include "toolkit/reliability.hpp"

using namespace qmx;
using support::view;

namespace {

TEST(ReliabilityAdjustment, MovesTheMeansTowardsEachOther) {
    constexpr f64 z95 = 1.6448536269514722;
    struct {
        const char* name;
        f64 reliability, m1, m2, c1, c2, out1, out2;
    } const rows[] = {{"half", 50, 10, 20, 0.1, 0.2, 10, 20},
                      {"no variation of the second", 95, 10, 20, 0.3, 0,
                       10 + 3 * z95 * std::sqrt(10.) / (std::sqrt(10.) + 1), 20},
                      {"no variation of the first", 95, 10, 20, 0, 0.1, 10,
                       20 - 2 * z95 * std::sqrt(5.) / (1 + std::sqrt(5.))},
                      {"the sign of a coefficient is lost", 95, 10, 20, 0, -0.1, 10,
                       20 - 2 * z95 * std::sqrt(5.) / (1 + std::sqrt(5.))},
                      {"both", 95, 20, 10, 0.1, 0.3,
                       20 + 2 * z95 * std::sqrt(14.) / (std::sqrt(5.) + std::sqrt(10.)),
                       10 - 3 * z95 * std::sqrt(14.) / (std::sqrt(5.) + std::sqrt(10.))},
                      {"not below 0", 95, -1, 1, 0, 4, 0, 0},
                      {"below half it moves them apart", 5, 10, 20, 0, 0.1, 10,
                       20 + 2 * z95 * std::sqrt(5.) / (1 + std::sqrt(5.))}};
    for (const auto& row : rows) {
        f64 out1 = -1, out2 = -1;
        clear_event();
        EXPECT_EQ(relia_adj(row.reliability, row.m1, row.m2, row.c1, row.c2, out1, out2),
                  status_success);
        EXPECT_NEAR(out1, row.out1, 1e-13 * 20) << row.name;
        EXPECT_NEAR(out2, row.out2, 1e-13 * 20) << row.name;
    }
}

TEST(ReliabilityAdjustment, AnImpossibleReliabilityIsSeenInTheResultsOnly) {
    for (const f64 reliability : {0.0, 100.0, -5.0, nan64}) {
        f64 out1 = -1, out2 = -1;
        clear_event();
        EXPECT_EQ(relia_adj(reliability, 10, 20, 0.1, 0.1, out1, out2), status_success);
        EXPECT_FALSE(has_failed());
        EXPECT_TRUE(std::isnan(out1) && std::isnan(out2)) << reliability;
    }
}

// ---- The maturity curve -------------------------------------------------------------------------

struct curve {
    f64 a, b, c;
    f64 at(f64 x) const { return x > 0.0 ? a * std::exp(-std::pow(b / x, c)) : 0.0; }
};

std::vector<f64> values_of(const curve& each, const std::vector<f64>& x) {
    std::vector<f64> y;
    for (const f64 value : x) y.push_back(each.at(value));
    return y;
}

curve fitted(const std::vector<f64>& x, const std::vector<f64>& y, i32 status = status_success) {
    curve found{-1, -1, -1};
    clear_event();
    EXPECT_EQ(maturfit(view(x), view(y), found.a, found.b, found.c), status);
    return found;
}

const std::vector<f64> days = {0.5, 1, 2, 3, 5, 7, 14, 28, 56, 90};

TEST(MaturityFit, RecoversExactCurves) {
    struct {
        const char* name;
        curve expected;
        f64 unit; // of x
    } const rows[] = {{"days", {42.5, 3.2, 0.8}, 1},
                      {"degree hours", {35, 1500, 0.65}, 240},
                      {"steep", {60, 2, 4}, 1},
                      {"slow, far from its end", {80, 60, 0.5}, 1},
                      {"small numbers", {3e-5, 2e-4, 1}, 1e-4}};
    for (const auto& row : rows) {
        std::vector<f64> x = days;
        for (f64& value : x) value *= row.unit;
        const auto [a, b, c] = fitted(x, values_of(row.expected, x));
        EXPECT_NEAR(a / row.expected.a, 1, 1e-6) << row.name;
        EXPECT_NEAR(b / row.expected.b, 1, 1e-6) << row.name;
        EXPECT_NEAR(c / row.expected.c, 1, 1e-6) << row.name;
    }
}

// Data that a limit of 75 steps and starts from rising curves alone gave up on.
TEST(MaturityFit, FindsCurvesThatAreAlmostFlat) {
    const auto expect_curve = [](const char* name, const std::vector<f64>& x,
                                 const std::vector<f64>& y, const std::vector<f64>& expected) {
        const curve found = fitted(x, y);
        for (std::size_t i = 0; i < x.size(); ++i)
            EXPECT_NEAR(found.at(x[i]), expected[i], 1e-6 * y.back()) << name << i;
    };
    const std::vector<f64> hardened(4, 30.0), four = {1, 2, 3, 4};
    expect_curve("hardened", four, hardened, hardened);
    expect_curve("hardened, late", {7, 14, 28, 56}, hardened, hardened);
    expect_curve("falls", four, {33, 31, 29, 27}, hardened);
    const std::vector<f64> few = {1200, 1680, 13440, 21600},
                           many = {120, 240, 480, 720, 1200, 3360, 6720, 13440, 21600};
    const std::vector<f64> early = {52.36243170683877, 52.584578184306217, 52.710804119285626,
                                    52.710984763831952};
    expect_curve("four pairs", few, early, early);
    const std::vector<f64> soon = values_of({75.97792822, 60, 2.8}, many);
    expect_curve("nine pairs", many, soon, soon);
    const std::vector<f64> steep = values_of({60.5, 24, 4.2}, {3, 5, 14, 90});
    expect_curve("all but 0 at first", {3, 5, 14, 90}, steep, steep);
}

// Data that ask for a steepness beyond its bounds end on them.
TEST(MaturityFit, KeepsTheSteepnessWithinItsBounds) {
    const std::vector<f64> four = {1, 3, 7, 28};
    EXPECT_EQ(fitted(four, values_of({30, 1000, 0.0095}, four)).c, 0.01);
    EXPECT_NEAR(fitted(four, values_of({30, 1000, 0.011}, four)).c, 0.011, 1e-6);
    EXPECT_EQ(fitted({1, 2, 3, 4, 5, 6}, {0, 1, 30, 30, 30, 30}).c, 20);
}

TEST(MaturityFit, RecoversCurvesFromNoisyData) {
    const curve expected = {42.5, 3.2, 0.8};
    std::mt19937 engine(7);
    std::normal_distribution<f64> noise(0, 0.4);
    std::vector<f64> x = {0.0}, y = {0.0}; // fresh concrete
    for (int repetition = 0; repetition < 30; ++repetition)
        for (const f64 day : days) {
            x.push_back(day);
            y.push_back(expected.at(day) + noise(engine));
        }
    const auto [a, b, c] = fitted(x, y);
    EXPECT_NEAR(a, expected.a, 0.4);
    EXPECT_NEAR(b, expected.b, 0.1);
    EXPECT_NEAR(c, expected.c, 0.02);

    // At the solution the residuals are orthogonal to the derivatives, and no curve nearby is better.
    const i32 n = static_cast<i32>(x.size()), three = 3;
    const auto squares = [&](const std::array<f64, 3>& p) {
        std::vector<f64> residuals(x.size());
        camfunc(n, three, p.data(), residuals.data());
        f64 sum = 0;
        for (const f64 each : residuals) sum += each * each;
        return sum;
    };
    const std::array<f64, 3> best = {a, b, c};
    for (std::size_t j = 0; j < 3; ++j)
        for (const f64 step : {-1e-3, 1e-3}) {
            std::array<f64, 3> moved = best;
            moved[j] *= 1 + step;
            EXPECT_GT(squares(moved), squares(best)) << j;
        }
}

TEST(MaturityFit, DerivativesAreThoseOfTheResiduals) {
    const std::vector<f64> x = {0, 1e-3, 0.5, 2, 9, 70}, y = {0, 0, 1, 8, 20, 33};
    fitted(x, y); // whose data the residuals are of
    const i32 n = 6, three = 3, leading = 7;
    const std::array<f64, 3> at = {40, 3, 0.9};
    std::vector<f64> derivatives(21, -777.0), above(6), below(6);
    camjacob(n, three, at.data(), derivatives.data(), leading);
    for (std::size_t j = 0; j < 3; ++j) {
        std::array<f64, 3> up = at, down = at;
        const f64 step = 1e-6 * at[j];
        up[j] += step;
        down[j] -= step;
        camfunc(n, three, up.data(), above.data());
        camfunc(n, three, down.data(), below.data());
        for (std::size_t i = 0; i < 6; ++i)
            EXPECT_NEAR(derivatives[7 * j + i], (above[i] - below[i]) / (2 * step), 1e-7)
                << i << ", " << j;
        EXPECT_EQ(derivatives[7 * j + 6], -777.0) << "between the columns";
        EXPECT_EQ(derivatives[7 * j], 0.0) << "at maturity 0";
    }
    EXPECT_EQ(above[0], 0.0);
}

TEST(MaturityFit, RefusesDataThatHaveNoCurve) {
    struct {
        const char* name;
        std::vector<f64> x, y;
    } const rows[] = {{"nothing", {}, {}},
                      {"two pairs", {1, 2}, {1, 2}},
                      {"three pairs, two maturities", {1, 2, 2}, {1, 2, 2.5}},
                      {"different extents", {1, 2, 3, 4}, {1, 2, 3}},
                      {"a negative maturity", {-1, 1, 2, 3}, {1, 2, 3, 4}},
                      {"a missing value", {1, 2, 3, 4}, {1, nan64, 3, 4}},
                      {"an infinite maturity", {1, 2, 3, inf64}, {1, 2, 3, 4}},
                      {"no strength", {1, 2, 3, 4}, {0, 0, 0, 0}},
                      {"negative strength", {1, 2, 3, 4}, {-1, -2, -3, -4}}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const auto [a, b, c] = fitted(row.x, row.y, status_failure);
        support::expect_event("error in fitting maturity data - check and throw out outliers",
                              "maturfit/maturfit");
        EXPECT_TRUE(a == -1 && b == -1 && c == -1);
    }
}

} // namespace
