// The driver of the semivariogram: checks, the order of its outputs, and what a failure leaves.
#include "base/limits.hpp"
#include "semivariogram/semivariogram.hpp"
#include "support/expect_event.hpp"

using namespace qmx;

namespace {

constexpr f64 untouched = -7.5;

// A strip with values that resemble each other over some metres.
std::vector<t_icdata> strip(i32 count) {
    std::mt19937 generator(5);
    std::normal_distribution<f64> noise(0.0, 1.0);
    std::vector<t_icdata> points;
    for (i32 i = 0; i < count; ++i) {
        const f64 x = 0.3 * (i % 100);
        const f64 y = 0.5 * (i / 100);
        points.push_back({x, y, 70 + 6 * std::sin(0.4 * x) + noise(generator), 1, 0});
    }
    return points;
}

struct call {
    std::vector<t_icdata> points = strip(800);
    t_gamvset_user set = {10, 1.0F, 0, 90, 1000, 2};
    std::vector<f64> distances = std::vector<f64>(100, untouched);
    std::vector<f64> semivariances = std::vector<f64>(100, untouched);
    f64 parameters[2] = {untouched, untouched};
    std::vector<f64> curve_x = std::vector<f64>(curve_points, untouched);
    std::vector<f64> curve_y = std::vector<f64>(curve_points, untouched);
    f32 summary[4] = {-7, -7, -7, -7};

    i32 run() {
        const i32 count = static_cast<i32>(points.size());
        const i32 classes = static_cast<i32>(std::clamp<i64>(i64{set.i_nlag} + 2, 0, 100));
        clear_event();
        return qmx_icdata_semivgm_drv(
            1, count, view_of<const t_icdata>(points.data(), count), set,
            view_of(distances.data(), classes), view_of(semivariances.data(), classes), parameters,
            view_of(curve_x.data(), curve_points), view_of(curve_y.data(), curve_points), summary);
    }
    bool has_model() const {
        return parameters[0] != untouched || curve_x[0] != untouched || summary[0] != -7;
    }
    bool has_experimental() const { return distances[0] != untouched; }
};

struct refusal {
    t_gamvset_user set;
    const char* message;
    bool is_own; // not one of readparm's
};

const char* const modelfit_path =
    "modelfit_all/modelfit_all/semivariogram_modlefit/qmx_icdata_semivgm_drv";
const char* const standard = "t_gamvset_user%i_standsills has to be either 1 or 2";
const char* const lags = "i_nlag + 2 exceeds the maximum 100 lag classes";

TEST(Semivariogram, NamesTheFirstOffenceAndComputesNothing) {
    const refusal refusals[] = {
        {{10, 1, 0, 90, 10, 0}, standard, true},
        {{99, 1, 0, 90, 10, 3}, standard, true},
        {{99, -1, 0, 90, 10, 1}, lags, true},
        {{2147483647, 1, 0, 90, 10, 1}, lags, true},
        {{0, -1, 0, 90, -1, 1}, "nlag is too small: check parameters", false},
        {{-5, 1, 0, 90, 10, 2}, "nlag is too small: check parameters", false},
        {{10, -0.1F, 0, 90, -1, 2}, "xlag is too small: check parameter file", false},
        {{10, 1, 0, 90, -1, 2}, "horizontal bandwidth is too small", false}};
    for (const refusal& row : refusals) {
        SCOPED_TRACE(row.message);
        call c;
        c.set = row.set;
        EXPECT_EQ(c.run(), 3);
        const std::string below = row.is_own ? "" : "readparm/";
        support::expect_event(row.message, below + "qmx_icdata_semivgm_drv");
        EXPECT_FALSE(c.has_experimental() || c.has_model());
    }
}

TEST(Semivariogram, FillsAllOutputsAndNoMoreThanTheLagClasses) {
    call c;
    ASSERT_EQ(c.run(), 1);
    EXPECT_FALSE(has_failed());
    EXPECT_EQ(c.distances[0], 0);
    EXPECT_EQ(c.semivariances[0], 0);
    for (std::size_t k = 2; k < 12; ++k) {
        EXPECT_NEAR(c.distances[k], static_cast<f64>(k) - 1, 0.5);
        EXPECT_GT(c.semivariances[k], 0);
    }
    EXPECT_EQ(c.distances[12], untouched);
    // The curve begins at the least distance; its first ordinate is the nugget.
    EXPECT_EQ(c.curve_x[0], 0);
    EXPECT_EQ(static_cast<f64>(c.summary[3]), c.curve_y[0]);
    EXPECT_EQ(c.summary[2], c.summary[1] - c.summary[3]);
    EXPECT_EQ(c.parameters[0], static_cast<f64>(static_cast<f32>(c.parameters[0])));
}

TEST(Semivariogram, StandardisedIsAFractionOfTheVariance) {
    call plain, standardised;
    standardised.set.i_standsills = 1;
    ASSERT_EQ(plain.run(), 1);
    standardised.run();
    f64 mean = 0, variance = 0;
    for (const t_icdata& point : plain.points) mean += point.d_val / 800;
    for (const t_icdata& point : plain.points) variance += std::pow(point.d_val - mean, 2) / 800;
    for (std::size_t k = 1; k < 12; ++k) {
        EXPECT_EQ(standardised.distances[k], plain.distances[k]);
        EXPECT_NEAR(standardised.semivariances[k] * variance / plain.semivariances[k], 1, 1.0e-10);
    }
}

TEST(Semivariogram, KeepsTheExperimentalPartWhenOnlyTheFitFails) {
    call c;
    for (t_icdata& point : c.points) point.d_val = 75;
    EXPECT_EQ(c.run(), 3);
    support::expect_event("Only the curvefit fails", modelfit_path);
    EXPECT_TRUE(c.has_experimental());
    EXPECT_NEAR(c.distances[11], 10, 0.5);
    EXPECT_EQ(c.semivariances[11], 0);
    EXPECT_EQ(c.parameters[0], untouched);
    EXPECT_EQ(c.curve_x[0], untouched);
}

TEST(Semivariogram, TakesNoDataForEmptyLagClasses) {
    call c;
    c.points.clear();
    EXPECT_EQ(c.run(), 3);
    support::expect_event("Only the curvefit fails", modelfit_path);
    for (std::size_t k = 0; k < 12; ++k) EXPECT_EQ(c.distances[k], 0);
}

} // namespace
