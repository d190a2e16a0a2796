// The time that a search for pairs is expected to take, and the clock that is shown meanwhile.
#include "study/analyses/search_time.hpp"

#include <chrono>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "study/base/errors.hpp"

namespace {

using namespace qmx_study;

TEST(Duration, IsTellingInEachUnit) {
    const std::pair<double, const char*> cases[] = {
        {0, "1 s"},       {1.4, "1 s"},     {89.4, "89 s"},  {90, "2 min"},
        {150.5, "3 min"}, {5399, "90 min"}, {5400, "1.5 h"}, {86400, "24.0 h"}};
    for (const auto& [seconds, text] : cases) EXPECT_EQ(duration_text(seconds), text);
}

// A strip of points half a unit apart, along the eastings or the northings.
std::vector<t_icdata> long_strip(int length, int width, bool is_wide) {
    std::vector<t_icdata> points;
    for (int i = 0; i < length; ++i)
        for (int k = 0; k < width; ++k) {
            const double along = 0.5 * i, across = 0.5 * k;
            points.push_back(
                {is_wide ? along : across, is_wide ? across : along, 1.0 + (i * 7 + k) % 10, 1, 0});
        }
    return points;
}

TEST(SearchTime, IsToldOnlyOfLongSearches) {
    const auto seconds = [](const std::vector<t_icdata>& points, float lag) {
        return expected_seconds(points, {20, lag, 0, 90, 1e9F, QMX_IC_NO});
    };
    EXPECT_EQ(seconds(long_strip(4000, 10, true), 1000), 0); // 8e8 pairs in all
    const auto many = long_strip(50000, 20, true);
    EXPECT_EQ(seconds(many, 0.01F), 0); // no two within the cut-off
    // Beyond 1e9 pairs a piece is searched, whichever way the lot lies.
    for (const bool is_wide : {true, false}) {
        const double expected = seconds(is_wide ? many : long_strip(50000, 20, false), 1.4F);
        EXPECT_GT(expected, 0);
        EXPECT_LT(expected, 86400);
    }
}

struct told {
    std::vector<std::string> notes;
    bool cancelled = false;
    progress_hook hook() {
        return {[this](std::string_view text) { notes.emplace_back(text); },
                {},
                [this] { return cancelled; }};
    }
};

void sleep_for_a_moment() {
    std::this_thread::sleep_for(std::chrono::milliseconds(600));
}

TEST(Clock, RunsWhileTheWorkDoes) {
    told seen;
    progress shown(seen.hook());
    bool is_done = false;
    run_with_clock(150, shown, [&] {
        sleep_for_a_moment();
        is_done = true;
    });
    EXPECT_TRUE(is_done);
    ASSERT_GE(seen.notes.size(), 2U);
    EXPECT_TRUE(seen.notes.front().starts_with("searching for pairs: ")) << seen.notes.front();
    EXPECT_TRUE(seen.notes.front().ends_with(" s of about 2 min")) << seen.notes.front();
    EXPECT_EQ(seen.notes.back(), ""); // taken away
}

TEST(Clock, HandsOnHowTheWorkEnded) {
    told seen;
    progress shown(seen.hook());
    EXPECT_THROW(run_with_clock(1, shown, [] { throw std::runtime_error("ended"); }),
                 std::runtime_error);
    seen.cancelled = true;
    bool is_done = false;
    EXPECT_THROW(run_with_clock(1, shown,
                                [&] {
                                    sleep_for_a_moment();
                                    is_done = true;
                                }),
                 cancelled_error);
    EXPECT_TRUE(is_done); // never left behind
}

} // namespace
