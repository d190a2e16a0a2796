// Every export survives every allocation that fails: it says so, leaks nothing, and the next call
// works. Linked with the objects of the shared library and an allocator that fails on demand.
#include "support/event_text.hpp"
#include "support/export_calls.hpp"
#include "support/failing_new.hpp"

namespace {

// Fails each allocation of the call in turn, until it succeeds without reaching the n-th.
void expect_each_failure_reported(const support::export_call& row, support::ordinary_lot& lot) {
    SCOPED_TRACE(row.name);
    const std::string routine = row.name.substr(0, row.name.find(' '));
    for (long n = 1; n <= 1000; ++n) {
        lot.event = support::patterned_event();
        std::fill_n(lot.polynomial, 100, -7.0F);
        support::fail_allocation(n);
        const int32_t result = row.run();
        const auto allocations = support::stop_failing();
        EXPECT_EQ(allocations.kept, 0) << "leaked after failing allocation " << n;
        if (allocations.asked < n) {
            EXPECT_EQ(result, 1);
            EXPECT_TRUE(support::is_untouched(lot.event));
            EXPECT_GT(n, row.least_allocations) << "the test cannot pass by allocating nothing";
            return;
        }
        ASSERT_EQ(result, 3) << n;
        EXPECT_EQ(lot.polynomial[50], -7.0F) << "a failure leaves the outputs alone";
        const t_event event = lot.event;
        lot.event = support::patterned_event();
        EXPECT_EQ(row.run(), 1) << "the next call works";
        EXPECT_TRUE(support::is_untouched(lot.event));
        if (routine == "call_polycurvefit") continue; // has no event
        EXPECT_EQ(support::text_of(event.c_description), "memory could not be allocated");
        EXPECT_EQ(event.i_errcode, 101);
        EXPECT_EQ(event.i_errclass, 2);
        const std::string path = support::text_of(event.c_subfunc);
        EXPECT_TRUE(path.ends_with("/" + routine)) << path;
    }
    FAIL() << "the call never succeeded";
}

TEST(Memory, EachFailedAllocationOfAnExportEndsLikeAnyFailure) {
    support::ordinary_lot lot(1);
    for (const support::export_call& row : lot.calls()) {
        row.run(); // what it keeps between calls is made now
        expect_each_failure_reported(row, lot);
    }
}

} // namespace
