// Toolkit routines that no export reaches: each allocation that fails ends as the memory event.
#include "events/event.hpp"
#include "support/failing_new.hpp"
#include "support/test.hpp"
#include "toolkit/correlation_wrappers.hpp"
#include "toolkit/probability_plot.hpp"
#include "toolkit/reliability.hpp"

using namespace qmx;

namespace {

template <class T, std::size_t N> array_view<const T> view(const T (&elements)[N]) {
    return {elements, static_cast<i64>(N)};
}

constexpr f32 series[] = {1, 4, 2, 8, 5, 7}, echo[] = {2, 1, 4, 2, 8, 5};
constexpr f32 values[] = {1, 2, 3, 4}, shares[] = {0, 0.25F, 0.5F, 1}, wanted[] = {0.3F};
constexpr f64 days[] = {1, 3, 7, 28}, strengths[] = {4, 13, 22, 34};

TEST(Memory, EachFailedAllocationOfAToolkitRoutineIsItsEvent) {
    f32 results[7];
    f64 a, b, c;
    // clang-format off
    struct {
        const char* name;
        long least_allocations; // so that the test cannot pass by allocating nothing
        std::function<i32()> call;
    } const rows[] = {
        {"imsl_ccf", 5, [&] { return imsl_ccf(view(series), view(echo), 3, {results, 7}); }},
        {"imsl_GCIN", 1, [&] { return imsl_GCIN(view(wanted), view(values), view(shares), {results, 1}); }},
        {"maturfit", 2, [&] { return maturfit(view(days), view(strengths), a, b, c); }},
        {"norm_prob", 5, [&] { return norm_prob(view(series), 98); }}, // to no file
    };
    // clang-format on
    for (const auto& row : rows) {
        long n = 1;
        for (; n <= 100; ++n) {
            clear_event();
            support::fail_allocation(n);
            const i32 status = row.call();
            const support::allocation_count count = support::stop_failing();
            EXPECT_EQ(count.kept, 0) << row.name << ", allocation " << n;
            if (count.asked < n) {
                EXPECT_EQ(status, status_success) << row.name;
                break;
            }
            EXPECT_EQ(status, status_failure) << row.name << ", allocation " << n;
            EXPECT_TRUE(has_run_out_of_memory()) << row.name << ", allocation " << n;
        }
        EXPECT_GT(n, row.least_allocations) << row.name;
    }
    clear_event();
}

} // namespace
