// Statistics and frequencies through their wrappers: outputs, and which errors are reported.
#include "support/expect_event.hpp"
#include "toolkit/statistics_wrappers.hpp"

using namespace qmx;
using support::view;

namespace {

using reals = std::vector<f32>;
constexpr f32 untouched = -777.0F;

TEST(UnivariateWrapper, HandsOverAsManyStatisticsAsThereIsRoomFor) {
    const reals x = {4, 2, nan32, 9};
    reals all(17, untouched), few(3, untouched);
    clear_event();
    ASSERT_EQ(imsl_uvsta(view(x), view(all)), status_success);
    EXPECT_EQ(reals(all.begin(), all.begin() + 2), (reals{5, 13}));
    EXPECT_EQ(all[7], 7.0F);
    EXPECT_EQ(all[9], 3.0F);
    EXPECT_LT(all[10], 0.0F) << "limits of the mean, at 95 percent";
    EXPECT_EQ(all[14], 0.0F) << "no weights";
    EXPECT_EQ(all[15], untouched);
    EXPECT_EQ(imsl_uvsta(view(x), view(few)), status_success);
    EXPECT_EQ(few, reals(all.begin(), all.begin() + 3));
}

TEST(UnivariateWrapper, RefusesASingleValueAndForgivesUndefinedStatistics) {
    reals stat(15, untouched);
    EXPECT_EQ(imsl_uvsta(view(reals{3}), view(stat)), status_failure);
    support::expect_event("the data array is too small. Could be bad data.", "imsl_uvsta");
    EXPECT_EQ(stat[0], untouched);

    EXPECT_EQ(imsl_uvsta(view(reals{3, nan32}), view(stat)), status_success);
    EXPECT_FALSE(has_failed());
    EXPECT_EQ(stat[0], 3.0F);
    EXPECT_TRUE(std::isnan(stat[1]));
}

TEST(FrequencyWrapper, GivesPercentagesOfTheGivenCountAndZerosForARefusedTally) {
    const reals six = {1, 2, 3, 4, 5, 6}, limits = {2, 4, nan32};
    const f32 third = 2.0F / 6.0F * 100.0F, endless = std::numeric_limits<f32>::infinity();
    struct {
        const char* name;
        i32 n;
        reals x, limits;
        i32 k;
        f32 expected; // in each class
    } const rows[] = {{"six", 6, six, limits, 3, third},
                      {"more than counted", 4, six, limits, 3, 50},
                      {"none counted", 0, six, limits, 3, endless},
                      {"a missing value", 2, {1, nan32}, {1, 2}, 3, 0},
                      {"limits that fall", 2, {1, 2}, {2, 1}, 3, 0},
                      {"no values", 2, {}, {1, 2}, 3, 0},
                      {"one class", 2, {1, 2}, {1}, 1, 0},
                      {"too few limits", 2, {1, 2}, {1}, 3, 0},
                      {"no class", 2, {1, 2}, {}, 0, 0}};
    for (const auto& row : rows) {
        reals percent(4, untouched), expected(4, untouched);
        std::fill_n(expected.begin(), row.k, row.expected);
        clear_event();
        EXPECT_EQ(imsl_owfrq(row.n, view(row.x), row.k, view(row.limits), view(percent)), 1);
        EXPECT_FALSE(has_failed()) << row.name;
        EXPECT_EQ(percent, expected) << row.name;
    }
}

TEST(Reversal, ExchangesTheEnds) {
    std::vector<f64> even = {1, 2, 3, 4};
    EXPECT_EQ(reverse_arr_d(view(even)), status_success);
    EXPECT_EQ(even, (std::vector<f64>{4, 3, 2, 1}));
    reals odd = {1, 2, 3};
    EXPECT_EQ(reverse_arr_s(view(odd)), status_success);
    EXPECT_EQ(odd, (reals{3, 2, 1}));
    EXPECT_EQ(reverse_arr_s({}), status_success);
}

} // namespace
