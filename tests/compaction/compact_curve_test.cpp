// The compaction curve: its checks in order, the walk over the passes, what a failure leaves, and
// the same numbers as sorting by pass number gives.
#include "base/elementary_functions.hpp"
#include "compaction/compact_curve.hpp"
#include "measure_statistics/statistics.hpp"
#include "support/expect_event.hpp"
#include "toolkit/polynomial_curve.hpp"
#include "toolkit/sort_wrappers.hpp"

using namespace qmx;

namespace {

struct pass_count {
    i32 pass, points;
};

std::vector<t_icdata> points_of(const std::vector<pass_count>& passes, unsigned seed = 1) {
    std::mt19937 random(seed);
    std::normal_distribution<f64> noise;
    std::vector<t_icdata> points;
    for (const auto& [pass, count] : passes)
        for (i32 i = 0; i < count; ++i)
            points.push_back({0, 0, 40 - 30 * std::exp(-pass / 3.0) + 5 * noise(random), pass, 0});
    std::shuffle(points.begin(), points.end(), random);
    return points;
}

struct curve {
    i32 outcome = 0;
    i32 passes = 77;
    std::vector<f64> means;
    f64 x[100] = {}, y[100] = {};
    t_fitout fit = {};

    curve(i32 highest, i32 least, const std::vector<t_icdata>& points)
        : means(static_cast<std::size_t>(std::max(highest, 0))) {
        clear_event();
        const i32 count = static_cast<i32>(points.size());
        outcome = qmx_icdata_cmpcurv_B_drv(highest, least, count, view_of(points.data(), count),
                                           passes, view_of(means.data(), std::ssize(means)),
                                           view_of(x, 100), view_of(y, 100), fit);
    }
    bool has_no_curve() const {
        static constexpr t_fitout nothing = {};
        return std::all_of(x, x + 100, [](f64 v) { return v == 0; }) &&
               std::all_of(y, y + 100, [](f64 v) { return v == 0; }) &&
               std::memcmp(&fit, &nothing, sizeof fit) == 0;
    }
};

// The bits of the fifteen statistics that a single value is handed after a call.
std::array<std::uint32_t, 15> left_behind() {
    t_statsout record = {};
    const f64 single = 1;
    qmx_stats(2, 2, 1, view_of(&single, 1), record);
    std::array<std::uint32_t, 15> bits;
    std::memcpy(bits.data(), record.x_stat, sizeof bits);
    return bits;
}

// The same curve by sorting the points by pass and taking the statistics of each pass on its own.
void expect_curve_of_sorted(const std::vector<t_icdata>& points, i32 highest, const curve& got) {
    const auto left = left_behind();
    const i32 n = static_cast<i32>(points.size());
    std::vector<i32> sorted(points.size()), place(points.size());
    imsl_svigp(column_of(points.data(), n, &t_icdata::i_passno), view_of(sorted.data(), n),
               view_of(place.data(), n));
    std::vector<f64> means(static_cast<std::size_t>(highest)), numbers;
    t_statsout record = {};
    std::size_t at = 0;
    for (i32 k = 1; k <= highest; ++k) {
        std::vector<f64> values;
        while (at < points.size() && sorted[at] == k)
            values.push_back(points[static_cast<std::size_t>(place[at++]) - 1].d_val);
        if (values.size() < 100) break;
        const i32 count = static_cast<i32>(values.size());
        qmx_stats(2, 2, count, view_of<const f64>(values.data(), count), record);
        means[static_cast<std::size_t>(k) - 1] = record.x_stat[0];
        numbers.push_back(k);
    }
    ASSERT_EQ(got.passes, std::ssize(numbers));
    EXPECT_EQ(got.means, means);
    EXPECT_EQ(left, left_behind()) << "of the last pass";

    const i32 degree = 2;
    fitted_polynomial fitted;
    fit_polynomial(view_of<const f64>(numbers.data(), got.passes),
                   view_of<const f64>(means.data(), got.passes), &degree, fitted);
    const f64 lower = *std::min_element(means.begin(), means.end());
    const f64 upper = *std::max_element(means.begin(), means.end());
    for (int i = 0; i < 100; ++i) {
        const f64 x = 1 + i * ((got.passes - 1) / 100.0);
        EXPECT_EQ(got.x[i], x);
        f64 y = 0;
        for (int k = 0; k <= 2; ++k) y += fitted.coefficient[k] * whole_power(x, k);
        EXPECT_EQ(got.y[i], std::min(std::max(y, lower), upper));
    }
    EXPECT_EQ(got.fit.i_degree, 2);
    for (std::size_t k = 0; k < 10; ++k)
        EXPECT_EQ(got.fit.x_coef[k], k <= 2 ? static_cast<f32>(fitted.coefficient[k]) : 0.0F);
    EXPECT_EQ(got.fit.x_rsq, static_cast<f32>(fitted.statistics[4]));
}

std::vector<pass_count> each_once(i32 passes) { // with the points that a pass needs
    std::vector<pass_count> all;
    for (i32 k = 1; k <= passes; ++k) all.push_back({k, 100});
    return all;
}

struct walk_case {
    const char* name;
    i32 highest;
    std::vector<pass_count> passes;
    i32 reached;
};
const walk_case walk_cases[] = {
    {"all_passes", 5, {{1, 100}, {2, 300}, {3, 150}, {4, 101}, {5, 100}}, 5},
    {"zeros_below_the_curve", 9, {{1, 200}, {2, 200}, {3, 200}, {4, 200}}, 4},
    {"a_gap_ends_the_walk", 8, {{1, 200}, {2, 200}, {3, 200}, {4, 200}, {6, 200}}, 4},
    {"a_thin_pass_ends_the_walk", 8, {{1, 100}, {2, 150}, {3, 100}, {4, 99}, {5, 500}}, 3},
    {"more_passes_than_an_estimate_takes", 300, each_once(300), 300},
    {"one_pass_alone_is_a_line_of_zeros", 3, {{1, 100}, {2, 99}, {3, 500}}, 1}};
TEST(CompactionCurve, EqualsTheCurveOfSortedPointsToTheLastDigit) {
    for (const auto& c : walk_cases) {
        SCOPED_TRACE(c.name);
        const auto points = points_of(c.passes);
        const curve got(c.highest, 50, points);
        ASSERT_EQ(got.outcome, 1) << current_event.c_description.trimmed();
        EXPECT_EQ(got.passes, c.reached);
        expect_curve_of_sorted(points, c.highest, got);
    }
}

// A sample of evenly spread points estimates the magnitude of the values and the last pass: right
// or wrong, the result is the same.
TEST(CompactionCurve, DoesNotDependOnItsEstimates) {
    std::mt19937 random(9);
    auto points = points_of({{1, 9000}, {2, 8000}, {3, 7000}, {4, 120}, {5, 99}}, 3);
    const auto is_of_last_pass = [](const t_icdata& point) { return point.i_passno >= 4; };
    struct {
        const char* name;
        f64 factor; // of the values between the sample
    } const cases[] = {{"alike", 1}, {"much larger", 1e30}, {"much smaller", 1e-30}, {"zero", 0}};
    for (const auto& [name, factor] : cases) {
        for (const bool hides_last_passes : {false, true}) {
            SCOPED_TRACE(name);
            std::shuffle(points.begin(), points.end(), random);
            auto given = points;
            const std::size_t step = given.size() / 1024;
            std::size_t other = 1;
            for (std::size_t i = 0; i < given.size(); i += step)
                while (hides_last_passes && is_of_last_pass(given[i])) {
                    other += other % step == 0 ? 1 : 0;
                    std::swap(given[i], given[other++]);
                }
            for (std::size_t i = 0; i < given.size(); ++i)
                if (i % step != 0) given[i].d_val *= factor;
            const curve got(6, 0, given);
            ASSERT_EQ(got.outcome, 1);
            expect_curve_of_sorted(given, 6, got);
        }
    }
}

constexpr i32 untouched = 77;
constexpr std::string_view own_path = "qmx_icdata_cmpcurv_B_drv";
constexpr std::string_view highest_too_low =
    "i_maxpassno should be more than 2 for compaction curve analysis";
constexpr std::string_view no_pass_1 = "IC data should always contain pass no. 1";

struct failure_case {
    const char* name;
    i32 highest, least;
    std::vector<pass_count> passes;
    std::string_view message;
    i32 reached; // passes
};
const failure_case failure_cases[] = {
    {"highest 1 before all", 1, 500, {{7, 10}}, highest_too_low, untouched},
    {"too few points", 5, 101, {{7, 100}}, "not sufficient data", untouched},
    {"none, and none asked for", 2, 0, {}, no_pass_1, untouched},
    {"no pass 1 before too high", 5, 0, {{2, 200}, {9, 3}}, no_pass_1, untouched},
    {"pass 0", 5, 0, {{0, 1}, {1, 200}}, no_pass_1, untouched},
    {"pass below 0", 5, 0, {{-2147483647, 1}, {1, 200}}, no_pass_1, untouched},
    {"too high", 5, 0, {{1, 200}, {6, 1}}, "IC data consist of pass no. > max passes", untouched},
    {"pass 1 thin", 5, 0, {{1, 99}, {2, 9}}, "No sufficient data existed for any pass no.", 0},
    {"no quadratic", 2, 0, {{1, 100}, {2, 100}}, "error calling imsl drcurv", 2}};
TEST(CompactionCurve, FailsInItsOrderAndLeavesWhatItHad) {
    for (const auto& c : failure_cases) {
        SCOPED_TRACE(c.name);
        const curve got(c.highest, c.least, points_of(c.passes));
        EXPECT_EQ(got.outcome, 3);
        std::string path = c.reached == 2 ? "polycurvfit/polycurvfit/" : "";
        support::expect_event(c.message, path.append(own_path));
        EXPECT_EQ(got.passes, c.reached);
        EXPECT_TRUE(got.has_no_curve());
        const i32 reached = c.reached == untouched ? 0 : c.reached;
        for (std::size_t k = 0; k < got.means.size(); ++k)
            EXPECT_EQ(got.means[k] != 0.0, static_cast<i32>(k) < reached);
    }
}

TEST(CompactionCurve, SkipsNanInAPassButFailsForAPassOfThem) {
    auto points = points_of({{1, 150}, {2, 150}, {3, 150}, {4, 150}});
    points[3].d_val = points[200].d_val = nan64;
    const curve holed(4, 0, points);
    EXPECT_EQ(holed.outcome, 1);
    expect_curve_of_sorted(points, 4, holed);

    for (auto& point : points)
        if (point.i_passno == 3)
            point.d_val = std::numeric_limits<f64>::infinity() * (point.d_val > 30 ? 1 : -1);
    const curve failed(4, 0, points);
    EXPECT_EQ(failed.outcome, 3);
    support::expect_event("x or y data contains NaN", "/polycurvfit/qmx_icdata_cmpcurv_B_drv", 102);
    EXPECT_EQ(failed.passes, 4);
}

// The values of a pass are summed in any order: neither the results nor the statistics kept for the
// next call may depend on it.
TEST(CompactionCurve, DoesNotDependOnTheOrderOfThePoints) {
    std::mt19937 random(4);
    auto points = points_of({{1, 400}, {2, 5000}, {3, 999}, {4, 20000}});
    for (auto& point : points) point.d_val *= std::exp(2e-2 * static_cast<f64>(random() % 1000));
    const curve first(4, 0, points);
    const auto statistics = left_behind();
    ASSERT_EQ(first.outcome, 1);
    for (int round = 0; round < 10; ++round) {
        std::shuffle(points.begin(), points.end(), random);
        const curve again(4, 0, points);
        EXPECT_EQ(again.means, first.means);
        EXPECT_EQ(std::memcmp(&again.fit, &first.fit, sizeof first.fit), 0);
        EXPECT_EQ(left_behind(), statistics);
    }
}

} // namespace
