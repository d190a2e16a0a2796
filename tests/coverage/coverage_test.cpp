// Coverage by pass bins: areas, binning, failures and the run log.
#include "coverage/coverage.hpp"
#include "coverage/coverage_state.hpp"
#include "coverage/first_match.hpp"
#include "support/expect_event.hpp"
#include "support/scratch_folder.hpp"

#include <set>

using namespace qmx;
namespace fs = std::filesystem;

namespace {

using corners = std::vector<std::pair<f64, f64>>;

corners square(f64 side, bool clockwise = false) {
    const corners ring = {{0, 0}, {side, 0}, {side, side}, {0, side}};
    return clockwise ? corners(ring.rbegin(), ring.rend()) : ring;
}

struct call {
    f32 mesh[2] = {1, 1};
    std::vector<t_passbin> bins = {{1, 3}};
    std::vector<t_icdata> points;
    std::vector<t_areaflt> areas;
    std::vector<t_binresult> results;

    call& area(i32 flag, const corners& ring) {
        areas.emplace_back();
        areas.back().i_flag_exclusion = flag;
        areas.back().i_numvertices = static_cast<i32>(ring.size());
        for (std::size_t k = 0; k < ring.size(); ++k) {
            areas.back().d_vert_x[k] = ring[k].first;
            areas.back().d_vert_y[k] = ring[k].second;
        }
        return *this;
    }
    call& passes(const std::vector<f64>& counts) {
        for (const f64 count : counts) points.push_back({0, 0, count, 0, 0});
        return *this;
    }
    coverage_state state() {
        results.assign(bins.size(), {7, 7, 7});
        using support::view;
        const auto size = [](const auto& list) { return static_cast<i32>(list.size()); };
        return {mesh,       size(points), size(bins),  size(areas),
                view(bins), view(points), view(areas), view(results)};
    }
    i32 run() {
        clear_event();
        const coverage_state s = state();
        return icd_coverage_cal(s.x_meshsize, s.i_num_point, s.i_num_bins, s.i_num_areas, s.bins,
                                s.points, s.areas, s.results);
    }
};

TEST(AlignmentArea, SumsIncludedLessExcludedWhateverTheOrientation) {
    const corners figure_eight = {{0, 0}, {2, 2}, {2, 0}, {0, 4}}; // lobes of 8/3 and -2/3
    struct {
        const char* name;
        call input;
        f32 expected;
    } const rows[] = {
        {"counter-clockwise", call().area(2, square(1)), 1},
        {"clockwise", call().area(2, square(1, true)), 1},
        {"a hole", call().area(2, square(10)).area(1, square(2, true)), 96},
        {"a hole first", call().area(1, square(2)).area(2, square(10, true)), 96},
        {"an exclusion alone", call().area(1, square(2)), -4},
        {"no area", call().area(2, {{0, 0}, {5, 5}}).area(2, {}).area(2, square(1)), 1},
        {"overlaps count twice", call().area(2, square(3)).area(2, square(3)), 18},
        {"a figure eight is a difference", call().area(2, figure_eight), 2}};
    for (auto row : rows) {
        EXPECT_EQ(row.input.run(), 1) << row.name;
        EXPECT_EQ(row.input.results[0].x_plan_area, row.expected) << row.name;
    }
}

TEST(AlignmentArea, ASliverThatStaysNegativeFails) {
    // Nearly collinear vertices far from the origin: rounding alone decides the sign, and both
    // senses of rotation come out below 0.
    std::mt19937_64 random(3);
    std::uniform_real_distribution<f64> far(4.0e5, 5.0e6);
    std::uniform_real_distribution<f64> near(-1e-9, 1e-9);
    for (int attempt = 0; attempt < 100000; ++attempt) {
        const f64 x = far(random);
        const f64 y = far(random);
        corners ring;
        for (int k = 0; k < 5; ++k)
            ring.emplace_back(x + 100 * far(random) / 5e6 + near(random), y + near(random));
        for (auto& corner : ring) corner.second = y + (corner.first - x) * 0.37;
        call input;
        input.area(2, square(1)).area(2, ring);
        if (input.run() == 1) continue;
        support::expect_event("current area is negative", "icd_coverage_cal");
        EXPECT_EQ(input.results[0].x_coverage, -99);
        EXPECT_EQ(input.results[0].x_plan_area, -99);
        return;
    }
    FAIL() << "no such sliver found";
}

TEST(Bins, CountsAreasAndPercentagesFollowTheirFormulas) {
    call input;
    input.mesh[0] = 0.5F;
    input.mesh[1] = 0.4F;
    input.bins = {{1, 3}, {3, 5}, {6, 6}};
    input.passes(std::vector<f64>(100, 3.9)).passes({4, 5.5, -0.5, 10001}).area(2, square(8));
    ASSERT_EQ(input.run(), 1);
    const f64 mesh = f64{0.5F} * f64{0.4F};
    EXPECT_EQ(input.results[0].x_compacted_area, static_cast<f32>(100 * mesh));
    EXPECT_EQ(input.results[0].x_coverage, static_cast<f32>(100 * mesh / 64 * 100));
    EXPECT_EQ(input.results[1].x_compacted_area, static_cast<f32>(2 * mesh));
    EXPECT_EQ(input.results[2].x_coverage, 0);
    EXPECT_EQ(input.results[2].x_plan_area, 64);
}

TEST(Bins, AnAlignmentWithoutAreaGivesWhatTheDivisionGives) {
    call input;
    input.bins = {{1, 3}, {4, 4}};
    input.passes({2});
    ASSERT_EQ(input.run(), 1);
    EXPECT_EQ(input.results[0].x_coverage, INFINITY);
    EXPECT_TRUE(std::isnan(input.results[1].x_coverage));
    input.bins.clear();
    EXPECT_EQ(input.run(), 1);
}

// The rule itself: the first bin, in order, that holds the pass count.
i32 plain_first_match(const std::vector<t_passbin>& bins, i32 passes) {
    for (std::size_t i = 0; i < bins.size(); ++i) {
        const i32 upper = bins[i].i_pass_upper == -1 ? 10000 : bins[i].i_pass_upper;
        if (bins[i].i_pass_lower <= passes && passes <= upper) return static_cast<i32>(i + 1);
    }
    return 0;
}

TEST(Bins, OneLookFindsTheFirstMatchOfThePlainWalk) {
    constexpr i32 lowest = std::numeric_limits<i32>::min();
    constexpr i32 highest = std::numeric_limits<i32>::max();
    std::mt19937 random(11);
    const std::vector<i32> ends = {lowest, lowest + 1, -5,    -2,    -1,          0,      1,
                                   2,      3,          7,     8,     100,         9999,   10000,
                                   10001,  16383,      16384, 70000, highest - 1, highest};
    for (int round = 0; round < 3000; ++round) {
        std::vector<t_passbin> bins(random() % 12);
        for (auto& bin : bins) bin = {ends[random() % ends.size()], ends[random() % ends.size()]};
        const first_match_table table(support::view(std::as_const(bins)));
        ASSERT_TRUE(table);
        for (const i32 end : ends)
            for (const i64 step : {-1, 0, 1}) {
                const i64 passes = std::clamp<i64>(end + step, lowest, highest);
                ASSERT_EQ(table(static_cast<i32>(passes)),
                          plain_first_match(bins, static_cast<i32>(passes)))
                    << passes << " in round " << round;
            }
    }
}

TEST(Bins, WhatIsNoPassCountFallsToTheLowestInteger) {
    call input;
    input.bins = {{0, -1}, {std::numeric_limits<i32>::min(), std::numeric_limits<i32>::min()}};
    input.passes({nan64, inf64, -inf64, 3e9, -3e9, 2}).area(2, square(1));
    ASSERT_EQ(input.run(), 1);
    EXPECT_EQ(input.results[0].x_compacted_area, 1);
    EXPECT_EQ(input.results[1].x_compacted_area, 5);
}

TEST(Checks, TheFirstOffenceDecidesAndTouchesNothing) {
    const std::string flag = "t_areaflt(i)%i_flag_exclusion needs to be either 1 (yes) or 2 (no)";
    const std::string count = "t_areaflt(i)%i_numvertices is greater than allowed maximum 10000";
    const auto with = [](std::vector<std::pair<i32, i32>> flags_and_counts) {
        call input;
        for (const auto& [f, n] : flags_and_counts) {
            input.area(f, square(1));
            input.areas.back().i_numvertices = n;
        }
        return input;
    };
    struct {
        const char* name;
        call input;
        std::string message; // empty: accepted
    } rows[] = {{"flag 0", with({{0, 4}}), flag},
                {"flag 3", with({{3, 4}}), flag},
                {"count 10001", with({{2, 10001}}), count},
                {"count 10000", with({{2, 10000}}), ""},
                {"negative count", with({{2, -7}}), ""},
                {"flag wins within an area", with({{5, 10001}}), flag},
                {"the first area decides", with({{1, 10001}, {5, 4}}), count}};
    for (auto& row : rows) {
        EXPECT_EQ(row.input.run(), row.message.empty() ? 1 : 3) << row.name;
        if (row.message.empty()) continue;
        support::expect_event(row.message, "icd_coverage_cal");
        EXPECT_EQ(row.input.results[0].x_coverage, 7) << "untouched";
    }
}

class RunLog : public testing::Test {
protected:
    support::scratch_folder folder;
    fs::path inside = folder.path() / "tmp";
    fs::path log = folder.path() / "tmp\\icd_coverage_cal.txt";
    support::environment_variable variable{"TMP", inside.string().c_str()};

    RunLog() { fs::create_directory(inside); }

    // Every name in the directory that TMP tells and in its parent.
    std::set<std::string> names() const {
        std::set<std::string> found;
        for (const auto& entry : fs::recursive_directory_iterator(folder.path()))
            found.insert(entry.path().string());
        return found;
    }
    static call sample() {
        call input;
        input.bins = {{1, 3}, {4, -1}};
        return input.passes({2, 0}).area(2, {{0, 2 + 0x1p-13}, {2, 0}, {0, 0}});
    }
};

TEST_F(RunLog, AStandardRunWritesNoFileAndALoggedOneDoes) {
    const auto before = names();
    call input = sample();
    EXPECT_EQ(input.run(), 1);
    input.areas[0].i_flag_exclusion = 9;
    EXPECT_EQ(input.run(), 3);
    EXPECT_EQ(names(), before);

    clear_event();
    coverage_state state = input.state();
    EXPECT_EQ(calculate_coverage_with_log(state), 3);
    auto after = before;
    after.insert(log.string());
    EXPECT_EQ(names(), after) << "the watch sees the one file of a log";
    EXPECT_NE(support::text_in(log).find("  *** Exit with error\n***** Error Message ******\n"
                                         "sub/func name : icd_coverage_cal\n"),
              std::string::npos);
}

TEST_F(RunLog, NotesMoreThanTheAlignmentAndFailsWithoutItsFile) {
    call input;
    input.passes({2, 2, 2, 9}).area(2, square(1.5));
    clear_event();
    coverage_state state = input.state();
    ASSERT_EQ(calculate_coverage_with_log(state), 1);
    const std::string text = support::text_in(log);
    EXPECT_NE(text.find(" Total point coverage is greater than the alignment area\n"
                        "      Total coverage (%):  133.33333333333331\n"
                        " Total coverage is greater than 100% \n"),
              std::string::npos)
        << text;
    // One square metre of one: neither more nor less.
    call whole;
    whole.passes({2}).area(2, square(1));
    coverage_state exact = whole.state();
    ASSERT_EQ(calculate_coverage_with_log(exact), 1);
    EXPECT_EQ(support::text_in(log).find(" than 100%"), std::string::npos);

    support::environment_variable nowhere("TMP", "/nowhere/at/all");
    coverage_state unlogged = input.state();
    EXPECT_EQ(calculate_coverage_with_log(unlogged), 3);
    support::expect_event(
        "error opening a new file - /nowhere/at/all\\icd_coverage_cal.txt, iostat = 2",
        "icd_coverage_cal", 102);
    EXPECT_EQ(input.results[0].x_coverage, 7) << "untouched";
}

TEST_F(RunLog, HoldsInputsStepsAndResultsInTheirOrder) {
    call input = sample();
    clear_event();
    coverage_state state = input.state();
    ASSERT_EQ(calculate_coverage_with_log(state), 1);
    const std::string expected = R"(  initialize and check inputs
  *** IC_coverage_cal***
 x_meshsize - N/S (m) = 1 1
 i_num_point          = 2
 i_num_bins           = 2
 i_num_areas          = 1
  >>> Pass Bin Info
 bin no.= 1
 passes (lower/upper) = 1 3
 bin no.= 2
 passes (lower/upper) = 4 max passes set as 10000
  >>> Area Filter Info
 ===========================
 area no.= 1
 i_flag_exclusion (1=Y,2=N) = 2
 i_numvertices.= 3
 No.  Easting  Northing
 ---------------------------
    1         0.000         2.000 
    2         2.000         0.000 
    3         0.000         0.000 
  >>> Data point Info
the first 10 data points
 No.  Easting  Northing Passes(as values)
===========================
    1         0.000         0.000         2.000 
    2         0.000         0.000         0.000 
  Compute alighnment area
  >> Current area no.: 1
        no. vertices.: 3
  original order of vertices, can be CW or CCW.
 1 0 2.0001220703125
 2 2 0
 3 0 0
the current area is: -2.0001220703125
Since current order is CW, the order of vertices needs to be reversed to make it CCW.
  reversed order of vertices
 1 0 0
 2 2 0
 3 0 2.0001220703125
the corrected area is: 2.0001220703125
           area (m^2): 2.0001220703125
  exclusion (1:Y/2:N): 2
accumulated area(m^2): 2.0001220703125
  Compute areas for passes in bins
 Total Point_counts:  1
 Total Point_counts:  1 not equal to original total points: 2
  No error handler is added here. Check your input data!!
 bin no.  Point_counts
 1 1
 2 0
       a mesh area (m^2):  1
 Total points area (m^2):  1
    Alignment area (m^2):  2.0001220703125
      Total coverage (%):  49.996948428440646
 Total coverage is less than 100% 
  *** results***
 bin_No.  coverage, compacted area, plan_area
 ---------------------------------------------
   1        50.00         1.00         2.00 
   2         0.00         0.00         2.00 
 ---------------------------------------------
  *** Exit with success
)";
    EXPECT_EQ(support::text_in(log), expected);
}

} // namespace
