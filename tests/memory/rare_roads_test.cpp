// Each allocation that fails on the rarest roads of the exports: the event is filled, no output holds
// anything but what stood there, a zero or the result, nothing is leaked, and the next call is right.
#include "support/event_text.hpp"
#include "support/failing_new.hpp"
#include "support/rare_calls.hpp"

namespace {

// Bits, so that a NaN equals itself.
bool is_same(double a, double b) {
    return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
}

void expect_sound_outputs(const std::vector<double>& before, const std::vector<double>& now,
                          const std::vector<double>& result) {
    constexpr double not_computed = -99;
    for (std::size_t i = 0; i < now.size(); ++i)
        ASSERT_TRUE(now[i] == 0 || now[i] == not_computed || is_same(now[i], before[i]) ||
                    is_same(now[i], result[i]))
            << "output " << i << " is " << now[i] << ", not " << result[i];
}

void expect_each_failure_reported(const support::export_call& row, support::rare_lots& lots) {
    SCOPED_TRACE(row.name);
    const std::string routine = row.name.substr(0, row.name.find(','));
    lots.reset();
    const std::vector<double> before = lots.outputs();
    lots.event = support::patterned_event();
    ASSERT_EQ(row.run(), 1) << support::text_of(lots.event.c_description);
    const std::vector<double> result = lots.outputs();
    for (long n = 1; n <= 1000; ++n) {
        lots.reset();
        lots.event = support::patterned_event();
        support::fail_allocation(n);
        const int32_t status = row.run();
        const auto allocations = support::stop_failing();
        ASSERT_EQ(allocations.kept, 0) << "leaked after failing allocation " << n;
        if (allocations.asked < n) {
            EXPECT_EQ(status, 1);
            EXPECT_TRUE(support::is_untouched(lots.event));
            EXPECT_GT(n, row.least_allocations) << "the road was not taken";
            return;
        }
        ASSERT_EQ(status, 3) << n;
        expect_sound_outputs(before, lots.outputs(), result);
        if (routine != "call_polycurvefit") { // has no event
            EXPECT_EQ(support::text_of(lots.event.c_description), "memory could not be allocated");
            EXPECT_EQ(lots.event.i_errcode, 101);
            EXPECT_EQ(lots.event.i_errclass, 2);
            const std::string path = support::text_of(lots.event.c_subfunc);
            EXPECT_TRUE(path.ends_with("/" + routine)) << path;
        }
        lots.reset();
        lots.event = support::patterned_event();
        ASSERT_EQ(row.run(), 1) << "the next call works";
        EXPECT_TRUE(support::is_untouched(lots.event));
        const std::vector<double> next = lots.outputs();
        EXPECT_TRUE(std::equal(next.begin(), next.end(), result.begin(), is_same)) << "after " << n;
    }
    FAIL() << "the call never succeeded";
}

TEST(Memory, EachFailedAllocationOnARareRoadEndsLikeAnyFailure) {
    support::rare_lots lots;
    for (const support::export_call& row : lots.calls()) expect_each_failure_reported(row, lots);
}

} // namespace
