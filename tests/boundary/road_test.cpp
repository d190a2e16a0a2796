// From the host's call to its outputs, through the shared library.
#include "qmx_ic.h"
#include "support/event_text.hpp"
#include "support/test.hpp"

extern "C" int points_found_from_c();

namespace {

using support::is_untouched;
using support::patterned_event;
using support::text_of;

std::vector<t_icdata> points_of(const std::vector<double>& values) {
    std::vector<t_icdata> points;
    for (const double value : values) points.push_back({nan64, nan64, value, -9, 0x7FFFFFFF});
    return points;
}

TEST(Road, HeaderServesC) {
    EXPECT_EQ(points_found_from_c(), 2);
}

// A failure: its message, code 101, class 2, and its path, which starts below the export.
void expect_failure(int32_t result, t_event& event, const char* message, const char* path) {
    EXPECT_EQ(result, 3);
    EXPECT_EQ(text_of(event.c_description), message);
    EXPECT_EQ(text_of(event.c_subfunc), path);
    EXPECT_EQ(event.i_errcode, 101);
    EXPECT_EQ(event.i_errclass, 2);
    event = patterned_event();
}

TEST(Road, TooFewPointsLeaveTheOutputAloneAndNameTheExportTwice) {
    t_statsout out;
    std::memset(&out, 0x33, sizeof out);
    const t_statsout before = out;
    t_event event = patterned_event();
    for (const int32_t count : {2, 1, 0, -1, std::numeric_limits<int32_t>::min()})
        expect_failure(ICdata_stats(2, 2, count, points_of({1, 2, 3}).data(), &out, &event), event,
                       "Data points are less than 3. aborted.", "ICdata_stats/ICdata_stats");
    EXPECT_EQ(std::memcmp(&out, &before, sizeof out), 0);
}

TEST(Road, AFailureFromBelowCarriesItsPathAndTheNextCallIsClean) {
    t_statsout out = {};
    t_event event = patterned_event();
    expect_failure(ICdata_stats(1, 2, 3, points_of({1, 2, 200}).data(), &out, &event), event,
                   "High pass counts causing histogram intervals exceeding the maximum 200",
                   "qmx_stats/qmx_icdata_stats_drv/ICdata_stats");
    EXPECT_EQ(out.i_numdata, 3);
    EXPECT_FLOAT_EQ(out.x_stat[0], 203.0F / 3);
    expect_failure(ICdata_stats(1, 2, 3, points_of({0, 0.5, 0.9}).data(), &out, &event), event,
                   "x_y size is not correct",
                   "linr_intpol_s/qmx_stats/qmx_icdata_stats_drv/ICdata_stats");
    EXPECT_EQ(ICdata_stats(1, 2, 3, points_of({1, 2, 3}).data(), &out, &event), 1);
    EXPECT_TRUE(is_untouched(event));
    EXPECT_EQ(out.i_numbins, 4);
}

TEST(Road, StaleCumulativeEntriesAndInputsSurvive) {
    t_statsout out;
    std::memset(&out, 0x11, sizeof out);
    out.i_flag_target = 2;
    const t_statsout before = out;
    t_event event = patterned_event();
    ASSERT_EQ(ICdata_stats(2, 2, 4, points_of({1, 2, 3, 4}).data(), &out, &event), 1);
    EXPECT_EQ(out.x_bin[21] + out.x_freq[199], 0) << "zeroed by the driver";
    EXPECT_EQ(out.x_cumfreq[21], before.x_cumfreq[21]) << "not zeroed";
    EXPECT_EQ(out.i_target_met, before.i_target_met);
    EXPECT_EQ(std::memcmp(&out.x_target, &before.x_target, 3 * sizeof(float)), 0);
}

TEST(Road, SelectionsClearOverThePointsAndCountFromZero) {
    const double center[2] = {0, 0};
    const double x[] = {0, 5, 1, nan64};
    const double y[] = {0, 5, 0, 0};
    std::vector<int32_t> indices(5, 42);
    int32_t found = 42;
    t_event event = patterned_event();
    EXPECT_EQ(find_points_in_circle(4, -2, center, x, y, &found, indices.data(), &event), 1);
    EXPECT_EQ(found, 2);
    EXPECT_EQ(indices, (std::vector<int32_t>{0, 2, 0, 0, 42}));

    const double vertex_x[] = {-1, 4, 4, -1};
    const double vertex_y[] = {-1, -1, 4, 4};
    indices.assign(5, 42);
    EXPECT_EQ(
        find_points_in_polygon(4, 4, vertex_x, vertex_y, x, y, &found, indices.data(), &event), 1);
    EXPECT_EQ(found, 2);
    EXPECT_EQ(indices, (std::vector<int32_t>{0, 2, 0, 0, 42}));

    for (const int32_t none : {0, -3}) {
        indices.assign(5, 42);
        found = 42;
        EXPECT_EQ(find_points_in_circle(none, 2, center, x, y, &found, indices.data(), &event), 1);
        EXPECT_EQ(found, 0);
        found = 42;
        EXPECT_EQ(find_points_in_polygon(4, none, vertex_x, vertex_y, x, y, &found, indices.data(),
                                         &event),
                  1);
        EXPECT_EQ(found, 0);
        EXPECT_EQ(indices, std::vector<int32_t>(5, 42)) << "left alone";
        EXPECT_EQ(find_points_in_polygon(none, 4, vertex_x, vertex_y, x, y, &found, indices.data(),
                                         &event),
                  1);
        EXPECT_EQ(found, 0);
    }
    EXPECT_TRUE(is_untouched(event));
}

TEST(Road, CoverageFailsWithItsPathAndWithoutResults) {
    const float mesh[2] = {0.5F, 0.4F};
    const t_passbin bins[2] = {{1, 3}, {4, -1}};
    const auto points = points_of({2, 2, 7, nan64});
    std::vector<t_areaflt> areas(1);
    areas[0].i_flag_exclusion = 3;
    areas[0].i_numvertices = 4;
    t_binresult results[2] = {{7, 7, 7}, {7, 7, 7}};
    t_event event = patterned_event();
    const auto call = [&] {
        return IC_coverage(mesh, 4, 2, 1, bins, points.data(), areas.data(), results, &event);
    };
    expect_failure(call(), event,
                   "t_areaflt(i)%i_flag_exclusion needs to be either 1 (yes) or 2 (no)",
                   "icd_coverage_cal/IC_coverage");
    EXPECT_EQ(results[1].x_plan_area, 7);

    areas[0] = {2, 4, {0, 0, 1, 1}, {0, 1, 1, 0}};
    EXPECT_EQ(call(), 1);
    EXPECT_TRUE(is_untouched(event));
    EXPECT_FLOAT_EQ(results[0].x_coverage, 40);
    EXPECT_FLOAT_EQ(results[1].x_compacted_area, 0.2F);
    EXPECT_EQ(results[1].x_plan_area, 1);
    EXPECT_EQ(IC_coverage(mesh, -1, -2, -3, nullptr, nullptr, nullptr, nullptr, &event), 1);
}

TEST(Road, SpotTestsKeepTheirStatisticsWhereTheLineFails) {
    std::vector<t_icdata> data;
    for (int k = 0; k < 60; ++k) data.push_back({k * 0.1, 0, 50.0 + k, 1 + k % 2, 0});
    std::vector<t_icdata> tests = {
        {1, 0, 10, -1, 0}, {99, 99, 20, -1, 0}, {3, 0, 30, 1, 0}, {5, 0, 50, 2, 0}};
    std::vector<t_statsout> stats(4);
    float line[3];
    int32_t valid = -1;
    std::vector<int32_t> list(4, 42);
    std::vector<double> predicted(4, 42);
    t_event event = patterned_event();
    const auto call = [&](int32_t count) {
        for (auto& record : stats) std::memset(&record, 0x11, sizeof record);
        event = patterned_event();
        return IC_PointsData_stats(60, count, -0.55, data.data(), tests.data(), stats.data(), line,
                                   &valid, list.data(), predicted.data(), &event);
    };
    EXPECT_EQ(call(4), 1);
    EXPECT_TRUE(is_untouched(event));
    EXPECT_EQ(valid, 3);
    EXPECT_EQ(list, (std::vector<int32_t>{1, 3, 4, 42}));
    EXPECT_EQ(stats[0].i_numdata, 11);
    EXPECT_EQ(stats[0].x_stat[0], 60);
    EXPECT_EQ(stats[0].i_flag_target, 0);
    EXPECT_EQ(stats[1].i_numdata, 0);
    EXPECT_EQ(stats[1].i_flag_target + stats[1].i_target_met, 4);
    EXPECT_EQ(stats[2].i_numdata, 5) << "of pass 1 alone";
    EXPECT_NEAR(line[1], 1, 1e-6);
    EXPECT_NEAR(line[2], 100, 1e-4);
    EXPECT_EQ(predicted[1], 0);
    EXPECT_EQ(predicted[0], static_cast<double>(static_cast<float>(predicted[0])));

    expect_failure(call(2), event, "point tests data is < 3, not sufficient for regression",
                   "qmx_point_stats_drv/IC_PointsData_stats");
    EXPECT_EQ(stats[0].i_numdata, 11);
    EXPECT_EQ(valid, 1);
    tests[2].i_passno = 0;
    expect_failure(call(4), event, "valid point tests data is < 3, not sufficient for regression",
                   "qmx_point_stats_drv/IC_PointsData_stats");
    EXPECT_EQ(valid, 2);
    EXPECT_EQ(line[0] + line[1] + line[2], 0);
}

TEST(Road, CompactionCurveLeavesWhatTheHostFindsAfterAFailure) {
    std::vector<t_icdata> points;
    const auto add = [&](int32_t pass, int count, double mean) {
        for (int k = 0; k < count; ++k) points.push_back({0, 0, mean + k % 2, pass, 0});
    };
    add(1, 100, 30);
    add(2, 120, 40);
    add(3, 100, 45);
    add(4, 99, 47);
    int32_t passes = -7;
    double means[6], x[100], y[100];
    t_fitout fit;
    t_event event = patterned_event();
    const auto call = [&](int32_t most, int32_t least) {
        passes = -7;
        std::fill_n(means, 6, 9.0);
        std::fill_n(x, 100, 9.0);
        std::fill_n(y, 100, 9.0);
        std::memset(&fit, 0x11, sizeof fit);
        event = patterned_event();
        return IC_compact_curve_b(most, least, static_cast<int32_t>(points.size()), points.data(),
                                  &passes, means, x, y, &fit, &event);
    };
    ASSERT_EQ(call(5, 400), 1);
    EXPECT_TRUE(is_untouched(event));
    EXPECT_EQ(passes, 3) << "pass 4 is too thin";
    EXPECT_EQ(means[0], 30.5);
    EXPECT_EQ(means[2], 45.5);
    EXPECT_EQ(means[3] + means[4], 0);
    EXPECT_EQ(means[5], 9) << "beyond i_maxpassno";
    EXPECT_EQ(x[0], 1);
    EXPECT_EQ(x[99], 1 + 99 * (2.0 / 100));
    EXPECT_EQ(fit.i_degree, 2);
    EXPECT_NEAR(fit.x_coef[0] + fit.x_coef[1] + fit.x_coef[2], 30.5, 1e-4);

    expect_failure(call(3, 0), event, "IC data consist of pass no. > max passes",
                   "qmx_icdata_cmpcurv_B_drv/IC_compact_curve_b");
    EXPECT_EQ(passes, -7);
    EXPECT_EQ(means[0] + x[50] + y[50] + fit.i_degree, 0);
    points.erase(points.begin() + 220, points.end()); // two passes are too few for a quadratic
    expect_failure(call(5, 0), event, "error calling imsl drcurv",
                   "polycurvfit/polycurvfit/qmx_icdata_cmpcurv_B_drv/IC_compact_curve_b");
    EXPECT_EQ(passes, 2);
    EXPECT_EQ(means[1], 40.5);
    EXPECT_EQ(y[50] + fit.x_coef[0], 0);
}

TEST(Road, PolynomialCurveIsNeverNegativeAndAFailureLeavesItAlone) {
    std::vector<float> x, y;
    for (int k = 0; k <= 20; ++k) {
        x.push_back(static_cast<float>(k));
        y.push_back(static_cast<float>(k * k - 50) + (k % 2 == 0 ? 0.25F : -0.25F));
    }
    float curve_x[100], curve_y[100];
    const auto call = [&](int32_t count, int32_t degree) {
        std::fill_n(curve_x, 100, -1.0F);
        std::fill_n(curve_y, 100, -1.0F);
        return call_polycurvefit(count, degree, x.data(), y.data(), curve_x, curve_y);
    };
    ASSERT_EQ(call(21, 2), 1);
    EXPECT_EQ(curve_x[0], 0);
    EXPECT_EQ(curve_x[99], 20);
    EXPECT_EQ(curve_y[0], 0) << "held at 0";
    EXPECT_NEAR(curve_y[99], 350, 0.5);
    EXPECT_EQ(call(21, 10), 3);
    EXPECT_EQ(curve_x[0] + curve_y[99], -2);
    EXPECT_EQ(call(1, 1), 1) << "nothing to fit";
    EXPECT_EQ(curve_y[0], 0);
    EXPECT_EQ(call(-4, 1), 1);
    y[3] = std::nanf("");
    EXPECT_EQ(call(21, 2), 3);
}

TEST(Road, SemivariogramKeepsItsExperimentalPartWhereOnlyTheFitFails) {
    std::vector<t_icdata> points;
    for (int k = 0; k < 400; ++k)
        points.push_back({0.3 * (k % 40), 0.5 * (k / 40), 50 + 8 * std::sin(0.35 * k), 1, 0});
    t_gamvset_user settings = {8, 0.5F, 90, 90, 100, 2};
    double distance[11], semivariance[11], model[2], curve_x[100], curve_y[100];
    float summary[4];
    t_event event;
    const auto call = [&](int32_t count) {
        std::fill_n(distance, 11, 7.0);
        std::fill_n(semivariance, 11, 7.0);
        std::fill_n(model, 2, 7.0);
        std::fill_n(curve_y, 100, 7.0);
        std::fill_n(summary, 4, 7.0F);
        event = patterned_event();
        return IC_semivariogram(count, points.data(), &settings, distance, semivariance, model,
                                curve_x, curve_y, summary, &event);
    };
    ASSERT_EQ(call(400), 1);
    EXPECT_TRUE(is_untouched(event));
    EXPECT_EQ(distance[0] + semivariance[0], 0) << "each point with itself";
    EXPECT_NEAR(distance[3], 1.0, 0.1);
    EXPECT_GT(semivariance[3], 0);
    EXPECT_EQ(distance[10], 7) << "past the classes";
    EXPECT_GE(model[0], 1);
    EXPECT_GT(summary[1], 0);

    for (auto& point : points) point.d_val = 5; // all semivariances 0: nothing to fit
    expect_failure(call(400), event, "Only the curvefit fails",
                   "modelfit_all/modelfit_all/semivariogram_modlefit/qmx_icdata_semivgm_drv/"
                   "IC_semivariogram");
    EXPECT_NEAR(distance[3], 1.0, 0.1);
    EXPECT_EQ(model[0] + curve_y[50] + summary[2], 0);

    constexpr int32_t most = std::numeric_limits<int32_t>::max();
    constexpr const char* driver = "qmx_icdata_semivgm_drv/IC_semivariogram";
    constexpr const char* below = "readparm/qmx_icdata_semivgm_drv/IC_semivariogram";
    struct {
        int32_t lags;
        float bandwidth;
        const char *message, *path;
        double first; // 7 where nothing can be cleared
    } const rows[] = {{99, -1, "i_nlag + 2 exceeds the maximum 100 lag classes", driver, 0},
                      {most, 1, "i_nlag + 2 exceeds the maximum 100 lag classes", driver, 7},
                      {0, 100, "nlag is too small: check parameters", below, 0},
                      {-5, 100, "nlag is too small: check parameters", below, 7},
                      {8, -1, "horizontal bandwidth is too small", below, 0}};
    std::vector<double> wide(101, 7.0);
    for (const auto& row : rows) {
        settings = {row.lags, 0.5F, 90, 90, row.bandwidth, 2};
        std::fill(wide.begin(), wide.end(), 7.0);
        std::vector<double> also_wide = wide;
        expect_failure(IC_semivariogram(400, points.data(), &settings, wide.data(),
                                        also_wide.data(), model, curve_x, curve_y, summary, &event),
                       event, row.message, row.path);
        EXPECT_EQ(wide[0], row.first) << row.message;
        EXPECT_EQ(curve_y[0], 0);
    }
}

} // namespace
