// Ordinary data raise no floating-point exception: a host may have unmasked them.
#include "numeric/errors/error_stack.hpp"
#include "numeric/plot/character_plot.hpp"
#include "numeric/polynomial/polynomial_fit.hpp"
#include "numeric/regression_call.hpp"
#include "numeric/statistics/cross_correlation.hpp"
#include "numeric/statistics/frequency.hpp"
#include "numeric/univariate_call.hpp"
#include "support/register_widths.hpp"

#include <cfenv>

using namespace qmx;
using namespace qmx::numeric;

namespace {

void expect_quiet(const std::string& what, const std::function<void()>& run) {
    ERSET(0, 0, 0);
    std::feclearexcept(FE_ALL_EXCEPT);
    run();
    const int raised = std::fetestexcept(FE_INVALID | FE_DIVBYZERO | FE_OVERFLOW);
    EXPECT_EQ(raised, 0) << what;
}

constexpr std::size_t sizes[] = {2, 3, 5, 17, 300, 5000};

TEST(FloatingPointFlags, StayClearInStatistics) {
    support::with_each_register_width([] {
        for (const std::size_t n : sizes) {
            const std::string name = std::to_string(n) + " values";
            std::vector<f32> x = univariate::made(
                n, [](auto, auto& r) { return univariate::normal(r, 45.0F, 12.0F); });
            std::vector<f32> y = x;
            for (std::size_t i = 0; i < n; ++i) y[i] += static_cast<f32>(i % 7);
            std::vector<f32> cut = {20, 30, 40, 50}, marks(8), table(8);
            const i32 count = static_cast<i32>(n), lags = std::min(count - 1, 9);
            expect_quiet("statistics of " + name, [&] { univariate::statistics(x); });
            expect_quiet("classes of " + name, [&] {
                OWFRQ(count, x.data(), 8, 0, 0, 0, 0, marks.data(), table.data());
                OWFRQ(count, x.data(), 8, 1, 20, 60, 0, marks.data(), table.data());
                OWFRQ(count, x.data(), 5, 2, 0, 0, 0, cut.data(), table.data());
                OWFRQ(count, x.data(), 4, 3, 0, 0, 5, cut.data(), table.data());
            });
            f32 mean[2], variance[2];
            std::vector<f32> tables(60);
            expect_quiet("correlations of " + name, [&] {
                CCF(x.data(), y.data(), count, lags, 2, 1, 0, mean[0], mean[1], variance[0],
                    variance[1], tables.data(), tables.data() + 20, tables.data() + 40);
            });
            expect_quiet("plot of " + name, [&] {
                SCTP(count, x.data(), y.data(), "", "", "", {[](void*, std::string_view) {}, {}});
            });
            x[n / 2] = nan32;
            expect_quiet("statistics with a missing value", [&] { univariate::statistics(x); });
        }
        expect_quiet("equal values", [] { univariate::statistics({3, 3, 3, 3}); });
    });
}

TEST(FloatingPointFlags, StayClearInRegressionsAndFits) {
    support::with_each_register_width([] {
        for (const std::size_t n : sizes) {
            const std::string name = std::to_string(n) + " rows";
            auto data = regression_test::made_up(7, static_cast<int>(n), 5e5, 90, 20, 0.3, n == 17,
                                                 n == 300, n == 300);
            const auto fit = [&](i32 degree, f64 missing) {
                std::vector<f64> x, y, B(20), sums(20), statistics(10);
                for (const auto& row : data) x.push_back(row.x), y.push_back(row.y);
                y.back() += missing;
                expect_quiet("fit of degree " + std::to_string(degree) + " to " + name, [&] {
                    DRCURV(static_cast<i32>(n), x.data(), y.data(), degree, B.data(), sums.data(),
                           statistics.data());
                });
            };
            for (const i32 degree : {0, 1, 2, 5, 9}) fit(degree, 0.0);
            fit(2, nan64);
            for (const i32 intercept : {0, 1})
                expect_quiet("line through " + name,
                             [&] { regression_test::regress(data, intercept); });
            data[n / 2].y = nan64;
            expect_quiet("line with a missing value", [&] { regression_test::regress(data); });
        }
        expect_quiet("equal responses", [] { regression_test::regress({{1, 5}, {2, 5}, {4, 5}}); });
        expect_quiet("equal abscissas", [] { regression_test::regress({{1, 5}, {1, 6}, {1, 7}}); });
        expect_quiet("a line itself", [] { regression_test::regress({{1, 3}, {2, 5}, {4, 9}}); });
    });
}

} // namespace
