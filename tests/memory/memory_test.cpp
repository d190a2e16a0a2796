// Every export survives every allocation that fails: it says so, leaks nothing, and the next call
// works. Linked with the objects of the shared library and an allocator that fails on demand.
#include "qmx_ic.h"
#include "support/event_text.hpp"
#include "support/failing_new.hpp"
#include "support/test.hpp"

namespace {

struct export_call {
    const char* name;
    long least_allocations; // so that the test cannot pass by allocating nothing
    std::function<int32_t(t_event*)> call;
    bool has_event = true;
};

std::vector<t_icdata> lot() {
    std::vector<t_icdata> points;
    for (int i = 0; i < 500; ++i)
        points.push_back({i * 0.3, std::sin(i), 80 + 10 * std::sin(0.1 * i), 1 + i % 4, 0});
    return points;
}

std::vector<export_call> exports() {
    static const std::vector<t_icdata> points = lot();
    static std::vector<double> x, y, outline_x, outline_y;
    static std::vector<int32_t> indices(points.size());
    static t_statsout statistics;
    static int32_t found;
    static const std::vector<t_areaflt> areas = {{2, 4, {0, 9, 9, 0}, {0, 0, 9, 9}}};
    if (x.empty()) {
        for (const auto& point : points) x.push_back(point.d_x), y.push_back(point.d_y);
        for (int i = 0; i < 300; ++i) {
            outline_x.push_back(75 + 70 * std::cos(i * 0.0209));
            outline_y.push_back(70 * std::sin(i * 0.0209));
        }
    }
    const auto count = static_cast<int32_t>(points.size());
    return {
        {"ICdata_stats", 1,
         [=](t_event* event) {
             return ICdata_stats(2, 2, count, points.data(), &statistics, event);
         }},
        {"IC_PointsData_stats", 3,
         [=](t_event* event) {
             static t_statsout stats[4];
             const t_icdata tests[4] = {
                 {3, 0, 10, -1, 0}, {30, 0, 20, -1, 0}, {60, 0, 30, 1, 0}, {90, 0, 40, 2, 0}};
             float line[3];
             int32_t valid, list[4];
             double predicted[4];
             return IC_PointsData_stats(count, 4, 5, points.data(), tests, stats, line, &valid,
                                        list, predicted, event);
         }},
        {"IC_compact_curve_b", 2,
         [=](t_event* event) {
             int32_t passes;
             double means[4], curve_x[100], curve_y[100];
             t_fitout fit;
             return IC_compact_curve_b(4, 0, count, points.data(), &passes, means, curve_x, curve_y,
                                       &fit, event);
         }},
        {"IC_coverage", 1,
         [=](t_event* event) {
             const float mesh[2] = {1, 1};
             const t_passbin bins[2] = {{1, 2}, {3, -1}};
             t_binresult results[2];
             return IC_coverage(mesh, count, 2, 1, bins, points.data(), areas.data(), results,
                                event);
         }},
        {"IC_semivariogram", 4,
         [=](t_event* event) {
             const t_gamvset_user settings = {8, 0.6F, 90, 90, 100, 2};
             double distance[10], semivariance[10], model[2], curve_x[100], curve_y[100];
             float summary[4];
             return IC_semivariogram(count, points.data(), &settings, distance, semivariance, model,
                                     curve_x, curve_y, summary, event);
         }},
        {"find_points_in_circle", 0,
         [=](t_event* event) {
             const double center[2] = {75, 0};
             return find_points_in_circle(count, 30, center, x.data(), y.data(), &found,
                                          indices.data(), event);
         }},
        {"find_points_in_polygon", 1,
         [=](t_event* event) {
             return find_points_in_polygon(300, count, outline_x.data(), outline_y.data(), x.data(),
                                           y.data(), &found, indices.data(), event);
         }},
        {"call_polycurvefit", 1,
         [=](t_event*) {
             static const std::vector<float> from(x.begin(), x.end()), at(y.begin(), y.end());
             float curve_x[100], curve_y[100];
             std::fill_n(curve_y, 100, 7.0F);
             const int32_t result =
                 call_polycurvefit(count, 4, from.data(), at.data(), curve_x, curve_y);
             EXPECT_EQ(result == 1, curve_y[50] != 7) << "a failure leaves the outputs alone";
             return result;
         },
         false},
    };
}

// Fails each allocation of the call in turn, until it succeeds without reaching the n-th.
void expect_each_failure_reported(const export_call& row) {
    SCOPED_TRACE(row.name);
    t_event untouched = support::patterned_event();
    for (long n = 1; n <= 1000; ++n) {
        t_event event = support::patterned_event();
        support::fail_allocation(n);
        const int32_t result = row.call(&event);
        const auto allocations = support::stop_failing();
        EXPECT_EQ(allocations.kept, 0) << "leaked after failing allocation " << n;
        if (allocations.asked < n) {
            EXPECT_EQ(result, 1);
            EXPECT_TRUE(support::is_untouched(event));
            EXPECT_GT(n, row.least_allocations);
            return;
        }
        ASSERT_EQ(result, 3) << n;
        EXPECT_EQ(row.call(&untouched), 1) << "the next call works";
        EXPECT_TRUE(support::is_untouched(untouched));
        if (!row.has_event) continue;
        EXPECT_EQ(support::text_of(event.c_description), "memory could not be allocated");
        EXPECT_EQ(event.i_errcode, 101);
        EXPECT_EQ(event.i_errclass, 2);
        const std::string path = support::text_of(event.c_subfunc);
        EXPECT_TRUE(path.ends_with(std::string("/") + row.name)) << path;
    }
    FAIL() << "the call never succeeded";
}

TEST(Memory, EachFailedAllocationOfAnExportEndsLikeAnyFailure) {
    for (const export_call& row : exports()) {
        t_event event;
        row.call(&event); // what it keeps between calls is made now
        expect_each_failure_reported(row);
    }
}

} // namespace
