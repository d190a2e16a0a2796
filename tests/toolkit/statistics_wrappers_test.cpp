#include "events/event.hpp"
#include "toolkit/statistics_wrappers.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

using namespace qmx;

namespace {

constexpr f32 nan32 = std::numeric_limits<f32>::quiet_NaN();
constexpr f32 untouched = -777.0F;

template <class T> array_view<T> view(std::vector<T>& elements) {
    return view_of(elements.data(), std::ssize(elements));
}
template <class T> array_view<const T> view(const std::vector<T>& elements) {
    return view_of(elements.data(), std::ssize(elements));
}

struct record {
    f64 other;
    f32 value;
    f32 result;
};

std::vector<record> records_of(const std::vector<f32>& values) {
    std::vector<record> records;
    for (const f32 value : values) records.push_back({0.5, value, untouched});
    return records;
}

array_view<const f32> values_in(const std::vector<record>& records) {
    return column_of(records.data(), std::ssize(records), &record::value);
}
array_view<f32> results_in(std::vector<record>& records) {
    return column_of(records.data(), std::ssize(records), &record::result);
}

TEST(UnivariateWrapper, HandsOverAsManyStatisticsAsThereIsRoomFor) {
    const std::vector<f32> x = {4, 2, nan32, 9};
    std::vector<f32> all(15, untouched);
    clear_event();
    ASSERT_EQ(imsl_uvsta(view(x), view(all)), status_success);
    EXPECT_EQ(all[0], 5.0F);
    EXPECT_EQ(all[1], 13.0F);
    EXPECT_EQ(all[7], 7.0F);
    EXPECT_EQ(all[9], 3.0F);
    EXPECT_EQ(all[14], 0.0F) << "no weights";
    EXPECT_LT(all[10], 0.0F) << "limits of the mean, at 95 percent";

    std::vector<record> few = records_of(std::vector<f32>(3));
    std::vector<record> strided = records_of(x);
    std::vector<f32> many(17, untouched);
    EXPECT_EQ(imsl_uvsta(values_in(strided), results_in(few)), status_success);
    for (std::size_t i = 0; i < few.size(); ++i) EXPECT_EQ(few[i].result, all[i]);
    EXPECT_EQ(imsl_uvsta(array_view<const f32>(x.data() + 3, 4, -std::ptrdiff_t{sizeof(f32)}),
                         view(many)),
              status_success);
    for (std::size_t i = 0; i < 15; ++i) EXPECT_EQ(many[i], all[i]) << "backwards, row " << i + 1;
    EXPECT_EQ(many[15], untouched);
}

TEST(UnivariateWrapper, RefusesASingleValueAndForgivesUndefinedStatistics) {
    std::vector<f32> stat(15, untouched);
    const std::vector<f32> one = {3};
    EXPECT_EQ(imsl_uvsta(view(one), view(stat)), status_failure);
    EXPECT_EQ(current_event.c_description.trimmed(),
              "the data array is too small. Could be bad data.");
    EXPECT_EQ(current_event.c_subfunc.trimmed(), "imsl_uvsta");
    EXPECT_EQ(current_event.i_errcode, 101);
    EXPECT_EQ(current_event.i_errtype, severity_failed);
    EXPECT_EQ(stat[0], untouched);

    clear_event();
    const std::vector<f32> lonely = {3, nan32};
    EXPECT_EQ(imsl_uvsta(view(lonely), view(stat)), status_success);
    EXPECT_FALSE(has_failed());
    EXPECT_EQ(stat[0], 3.0F);
    EXPECT_TRUE(std::isnan(stat[1]));
}

TEST(FrequencyWrapper, GivesPercentagesOfTheCountItIsTold) {
    const std::vector<f32> x = {1, 2, 3, 4, 5, 6};
    const std::vector<f32> limits = {2, 4, nan32};
    std::vector<f32> percent(3, untouched);
    clear_event();
    const auto run = [&](i32 n) { return imsl_owfrq(n, view(x), 3, view(limits), view(percent)); };
    ASSERT_EQ(run(6), status_success);
    const f32 third = 2.0F / 6.0F * 100.0F;
    EXPECT_EQ(percent, (std::vector<f32>{third, third, third}));
    ASSERT_EQ(run(4), status_success);
    EXPECT_EQ(percent, (std::vector<f32>{50, 50, 50}));
    ASSERT_EQ(run(0), status_success);
    EXPECT_TRUE(std::isinf(percent[0]));

    std::vector<record> strided = records_of(x);
    std::vector<record> cuts = records_of({2, 4});
    ASSERT_EQ(imsl_owfrq(6, values_in(strided), 3, values_in(cuts), results_in(strided)),
              status_success);
    EXPECT_EQ(strided[2].result, third);
    EXPECT_EQ(strided[3].result, untouched);
    EXPECT_FALSE(has_failed());
}

TEST(FrequencyWrapper, ARefusedTallyCountsNothingAndIsNotReported) {
    struct {
        const char* name;
        std::vector<f32> x, limits;
        i32 k;
    } const rows[] = {
        {"a missing value", {1, nan32}, {1, 2}, 3},
        {"limits that fall", {1, 2}, {2, 1}, 3},
        {"no values", {}, {1, 2}, 3},
        {"one class", {1, 2}, {1}, 1},
        {"too few limits", {1, 2}, {1}, 3},
    };
    for (const auto& given : rows) {
        std::vector<f32> percent(3, untouched);
        clear_event();
        EXPECT_EQ(imsl_owfrq(2, view(given.x), given.k, view(given.limits), view(percent)),
                  status_success)
            << given.name;
        EXPECT_FALSE(has_failed()) << given.name;
        for (i32 i = 0; i < 3; ++i)
            EXPECT_EQ(percent[static_cast<std::size_t>(i)], i < given.k ? 0.0F : untouched)
                << given.name;
    }
    std::vector<f32> percent = {untouched};
    const std::vector<f32> x = {1, 2};
    EXPECT_EQ(imsl_owfrq(2, view(x), 0, {}, view(percent)), status_success);
    EXPECT_EQ(percent[0], untouched) << "no class";
}

TEST(Reversal, ExchangesTheEnds) {
    std::vector<f64> even = {1, 2, 3, 4};
    EXPECT_EQ(reverse_arr_d(view(even)), status_success);
    EXPECT_EQ(even, (std::vector<f64>{4, 3, 2, 1}));
    std::vector<record> odd = records_of({1, 2, 3});
    for (record& each : odd) each.result = each.value;
    EXPECT_EQ(reverse_arr_s(results_in(odd)), status_success);
    EXPECT_EQ(odd[0].result, 3.0F);
    EXPECT_EQ(odd[1].result, 2.0F);
    EXPECT_EQ(odd[0].value, 1.0F);
    EXPECT_EQ(reverse_arr_s({}), status_success);
}

} // namespace
