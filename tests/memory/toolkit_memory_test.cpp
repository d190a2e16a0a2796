// Toolkit routines that no export reaches: each allocation that fails ends as the memory event.
#include "events/event.hpp"
#include "numeric/errors/error_stack.hpp"
#include "numeric/polynomial/polynomial_fit.hpp"
#include "support/failing_new.hpp"
#include "support/test.hpp"
#include "toolkit/correlation_wrappers.hpp"
#include "toolkit/probability_plot.hpp"
#include "toolkit/regression.hpp"
#include "toolkit/reliability.hpp"
#include "toolkit/sort_wrappers.hpp"
#include "toolkit/statistics_wrappers.hpp"

using namespace qmx;

namespace {

template <class T, std::size_t N> array_view<const T> view(const T (&elements)[N]) {
    return {elements, static_cast<i64>(N)};
}

// From the last element to the first: not contiguous, so that a routine needs a copy.
template <class T, std::size_t N> array_view<T> backwards(T (&elements)[N]) {
    return {elements + N - 1, static_cast<i64>(N), -static_cast<std::ptrdiff_t>(sizeof(T))};
}

constexpr i32 numbers[] = {3, 1, 4, 2};
constexpr f64 table[] = {1, 2, 3, 4, 2, 3, 5, 9}; // two columns
constexpr f32 series[] = {1, 4, 2, 8, 5, 7}, echo[] = {2, 1, 4, 2, 8, 5};
constexpr f32 values[] = {1, 2, 3, 4}, shares[] = {0, 0.25F, 0.5F, 1}, wanted[] = {0.3F};
constexpr f64 far_apart[] = {1, 1e3, 1e6, 1e9, 1e12, 1e15, 1e18, 1e21};
constexpr f64 heights[] = {4, 13, 5, 22, 9, 34, 1, 8};
constexpr f32 fallen[] = {4, 3, 2, 1}, falling[] = {1, 0.5F, 0.25F, 0};
constexpr i32 ascending[] = {4, 3, 2, 1}; // from its end
constexpr f64 days[] = {1, 3, 7, 28}, strengths[] = {4, 13, 22, 34};

TEST(Memory, EachFailedAllocationOfAToolkitRoutineIsItsEvent) {
    f32 results[7], sorted[4];
    i32 places[4], sorted_numbers[4], index = 0, missing = 0;
    f64 variances[15], coefficients[10], cases[48], powers[2], sums[2], statistics[10],
        many_powers[7], many_sums[7];
    // Posts its error where the others return their event.
    const auto fit_curve = [&](auto& x, auto& y, auto& b, auto& by_degree, std::string_view sizes) {
        numeric::ERSET(0, 0, 0);
        numeric::DRCURV(backwards(x), backwards(y), backwards(b), backwards(by_degree),
                        backwards(statistics));
        if (numeric::N1RTY(1) != numeric::type_terminal) return status_success;
        EXPECT_EQ(numeric::last_message(),
                  "The required storage cannot be allocated based on " + std::string(sizes));
        return fail_out_of_memory(routine_text("DRCURV"));
    };
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
        {"imsl_ccf of strided views", 7,
         [&] { return imsl_ccf(backwards(series), backwards(echo), 3, {results, 7}); }},
        {"imsl_GCIN of strided views", 3,
         [&] { return imsl_GCIN(view(wanted), backwards(fallen), backwards(falling), {results, 1}); }},
        {"imsl_svigp", 3, [&] { return imsl_svigp(backwards(numbers), backwards(sorted_numbers), backwards(places)); }},
        {"imsl_SVRGP", 3, [&] { return imsl_SVRGP(backwards(values), backwards(sorted), backwards(places)); }},
        {"imsl_isrch", 1, [&] { return imsl_isrch(2, backwards(ascending), index); }},
        {"imsl_uvsta", 1, [&] { return imsl_uvsta(backwards(series), {results, 7}); }},
        {"imsl_owfrq", 3, [&] { return imsl_owfrq(6, backwards(series), 3, view(values), {results, 3}); }},
        {"DRCURV", 5, [&] { return fit_curve(days, strengths, powers, sums, "NOBS = 4 and NDEG = 1."); }},
        {"DRCURV of abscissas far apart", 12, [&] { return fit_curve(far_apart, heights, many_powers, many_sums, "NOBS = 8 and NDEG = 6."); }},
        {"linr_regrs_simp", 2, [&] {
             return linr_regrs_simp({table, 4, 2, 8, 32}, 1, 2, 1, variances, coefficients, {cases, 4, 12, 8, 32}, missing);
         }},
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
