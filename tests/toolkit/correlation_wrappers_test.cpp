// Cross correlation and tabulated quantiles through their wrappers: outputs, checks in their order,
// events.
#include "events/event.hpp"
#include "toolkit/correlation_wrappers.hpp"

#include <gtest/gtest.h>

#include <algorithm>
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

void expect_failure(std::string_view description, std::string_view path) {
    EXPECT_TRUE(has_failed());
    EXPECT_EQ(current_event.c_description.trimmed(), description);
    EXPECT_EQ(current_event.c_subfunc.trimmed(), path) << description;
    EXPECT_EQ(current_event.i_errcode, 101);
    EXPECT_EQ(current_event.i_errtype, severity_failed);
    clear_event();
}

// Two pulses: y repeats that of x two steps later.
const std::vector<f32> early = {0, 4, 0, 0, 0, 0, 0, 0}, late = {0, 0, 0, 4, 0, 0, 0, 0};

TEST(CorrelationWrapper, ReportsTheLagOfTheLargestCorrelationAndTheOneAtLag0) {
    clear_event();
    std::vector<f32> table(7, untouched);
    i32 lag = -99;
    f32 at_0 = untouched;
    ASSERT_EQ(imsl_ccf(view(early), view(late), 3, view(table), &lag, &at_0), status_success);
    EXPECT_EQ(lag, 2);
    EXPECT_EQ(at_0, table[3]);
    EXPECT_FLOAT_EQ(table[5], (3.5F * 3.5F + 5 * 0.25F) / 14); // mean 0.5, squares sum to 14
    ASSERT_EQ(imsl_ccf(view(late), view(early), 3, view(table), &lag), status_success);
    EXPECT_EQ(lag, -2);
    EXPECT_FLOAT_EQ(table[1], (3.5F * 3.5F + 5 * 0.25F) / 14);
    ASSERT_EQ(imsl_ccf(view(early), view(early), 1, view(table), &lag, &at_0), status_success);
    EXPECT_EQ(lag, 0);
    EXPECT_EQ(at_0, 1.0F);

    // Equal largest correlations: the first, at the smallest lag.
    const std::vector<f32> one = {0, 0, 0, 7, 0, 0, 0}, two = {0, 7, 0, 0, 0, 7, 0};
    ASSERT_EQ(imsl_ccf(view(one), view(two), 3, view(table), &lag), status_success);
    EXPECT_EQ(table[1], table[5]);
    EXPECT_EQ(lag, -2);
    EXPECT_FALSE(has_failed());
}

TEST(CorrelationWrapper, TakesStridedSeriesAndTablesOfOtherLengths) {
    clear_event();
    struct pair {
        f32 x, y;
    };
    std::vector<pair> records;
    for (std::size_t i = 0; i < early.size(); ++i) records.push_back({early[i], late[i]});
    const i64 n = std::ssize(records);
    const pair* first = records.data();
    std::vector<f32> whole(7), strided(9, untouched), cut(4, untouched);
    ASSERT_EQ(imsl_ccf(view(early), view(late), 3, view(whole)), status_success);
    ASSERT_EQ(
        imsl_ccf(column_of(first, n, &pair::x), column_of(first, n, &pair::y), 3, view(strided)),
        status_success);
    ASSERT_EQ(imsl_ccf(view(early), view(late), 3, view(cut)), status_success);
    for (std::size_t i = 0; i < 7; ++i) EXPECT_EQ(strided[i], whole[i]) << i;
    for (std::size_t i = 0; i < 4; ++i) EXPECT_EQ(cut[i], whole[i]) << i;
    EXPECT_EQ(strided[8], 0.0F);
}

TEST(CorrelationWrapper, ChecksInItsOrderAndWritesNothingThen) {
    const std::vector<f32> none = {}, one = {1}, zeros = {0, 1.1920929E-07F, -1e-8F},
                           missing = {nan32, nan32, nan32}, good = {1, 2, 4};
    struct {
        const char* message;
        std::vector<f32> x, y;
        i32 maxlag;
    } const rows[] = {
        {"two time series are in different size", one, good, 0},
        {"number of obervation is less than 2", one, one, 0},
        {"number of obervation is less than 2", none, none, 1},
        {"i_maxlag is out of range", zeros, zeros, 0},
        {"i_maxlag is out of range", zeros, zeros, 4},
        {"x_xval is a zero array", zeros, zeros, 3},
        {"x_xval is a zero array", missing, good, 2},
        {"x_yval is a zero array", good, zeros, 2},
    };
    for (const auto& row : rows) {
        clear_event();
        std::vector<f32> table(9, untouched);
        i32 lag = -99;
        EXPECT_EQ(imsl_ccf(view(row.x), view(row.y), row.maxlag, view(table), &lag),
                  status_failure);
        expect_failure(row.message, "imsl_ccf");
        EXPECT_EQ(table, std::vector<f32>(9, untouched)) << row.message;
        EXPECT_EQ(lag, -99);
    }
}

TEST(CorrelationWrapper, WhatTheCorrelationRefusesIsZeroAndNoFailure) {
    struct {
        const char* name;
        std::vector<f32> x, y;
        i32 maxlag;
    } const rows[] = {
        {"as many lags as observations", {1, 2, 4}, {1, 5, 4}, 3},
        {"a missing value", {1, nan32, 4}, {1, 5, 4}, 1},
        {"a constant series", {1, 3, 4}, {2, 2, 2}, 2},
    };
    for (const auto& row : rows) {
        clear_event();
        std::vector<f32> table(7, untouched);
        i32 lag = -99;
        f32 at_0 = untouched;
        EXPECT_EQ(imsl_ccf(view(row.x), view(row.y), row.maxlag, view(table), &lag, &at_0),
                  status_success);
        EXPECT_FALSE(has_failed()) << row.name;
        EXPECT_EQ(table, std::vector<f32>(7, 0.0F)) << row.name;
        EXPECT_EQ(lag, 0) << row.name;
        EXPECT_EQ(at_0, 0.0F) << row.name;
    }
}

TEST(QuantileWrapper, ReadsValuesOutOfATableOfCumulativeProbabilities) {
    clear_event();
    // The uniform distribution on 10 to 20: a curve through a line is the line.
    const std::vector<f32> values = {10, 12.5F, 15, 20}, probabilities = {0, 0.25F, 0.5F, 1};
    const std::vector<f32> wanted = {0.75F, 0, 0.125F, 1};
    std::vector<f32> quantiles(5, untouched);
    ASSERT_EQ(imsl_GCIN(view(wanted), view(values), view(probabilities), view(quantiles)),
              status_success);
    EXPECT_EQ(quantiles, (std::vector<f32>{17.5F, 10, 11.25F, 20, 0}));

    std::vector<f32> backwards = values;
    std::reverse(backwards.begin(), backwards.end());
    const array_view<const f32> turned(backwards.data() + 3, 4, -std::ptrdiff_t{sizeof(f32)});
    std::vector<f32> two(2, untouched);
    ASSERT_EQ(imsl_GCIN(view(wanted), turned, view(probabilities), view(two)), status_success);
    EXPECT_EQ(two, (std::vector<f32>{17.5F, 10}));
    EXPECT_FALSE(has_failed());
}

TEST(QuantileWrapper, EveryRefusalIsAFailureEvenATerminalOne) {
    const std::vector<f32> values = {10, 12.5F, 15, 20}, probabilities = {0, 0.25F, 0.5F, 0.9F};
    struct {
        const char* name;
        std::vector<f32> wanted, values, probabilities;
        std::vector<f32> quantiles;
    } const rows[] = {
        {"a probability beyond the table",
         {0.25F, 0.95F, 0.5F},
         values,
         probabilities,
         {12.5F, 0, 0}},
        {"three rows", {0.25F}, {10, 12.5F, 15}, {0, 0.25F, 1}, {0, 0, 0}},
        {"columns of different extents", {0.25F}, values, {0, 0.25F, 0.5F, 0.8F, 1}, {0, 0, 0}},
        {"a table that falls", {0.25F}, values, {0, 0.5F, 0.25F, 1}, {0, 0, 0}},
    };
    for (const auto& row : rows) {
        clear_event();
        std::vector<f32> quantiles(3, untouched);
        EXPECT_EQ(
            imsl_GCIN(view(row.wanted), view(row.values), view(row.probabilities), view(quantiles)),
            status_failure)
            << row.name;
        expect_failure("IMSL GCIN Error", "imsl_GCIN/imsl_GCIN");
        EXPECT_EQ(quantiles, row.quantiles) << row.name;
    }
}

} // namespace
