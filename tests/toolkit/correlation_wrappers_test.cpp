// Cross correlation and tabulated quantiles through their wrappers: outputs, checks in their order,
// events.
#include "support/expect_event.hpp"
#include "toolkit/correlation_wrappers.hpp"

using namespace qmx;
using support::view;

namespace {

using reals = std::vector<f32>;
constexpr f32 untouched = -777.0F;

// Two pulses: y repeats that of x two steps later.
const reals early = {0, 4, 0, 0, 0, 0, 0, 0}, late = {0, 0, 0, 4, 0, 0, 0, 0};

TEST(CorrelationWrapper, ReportsTheLagOfTheLargestCorrelationAndTheOneAtLag0) {
    clear_event();
    reals table(7, untouched);
    i32 lag = -99;
    f32 at_0 = untouched;
    const auto run = [&](const reals& x, const reals& y, i32 most) {
        return imsl_ccf(view(x), view(y), most, view(table), &lag, &at_0) == status_success;
    };
    ASSERT_TRUE(run(early, late, 3));
    EXPECT_EQ(lag, 2);
    EXPECT_EQ(at_0, table[3]);
    EXPECT_FLOAT_EQ(table[5], (3.5F * 3.5F + 5 * 0.25F) / 14); // mean 0.5, squares sum to 14
    ASSERT_TRUE(run(late, early, 3));
    EXPECT_EQ(lag, -2);
    EXPECT_FLOAT_EQ(table[1], (3.5F * 3.5F + 5 * 0.25F) / 14);
    ASSERT_TRUE(run(early, early, 1));
    EXPECT_EQ(lag, 0);
    EXPECT_EQ(at_0, 1.0F);
    EXPECT_EQ(table[3], 0.0F) << "past the lags";
    // Equal largest correlations: the first, at the smallest lag.
    ASSERT_TRUE(run({0, 0, 0, 7, 0, 0, 0}, {0, 7, 0, 0, 0, 7, 0}, 3));
    EXPECT_EQ(table[1], table[5]);
    EXPECT_EQ(lag, -2);

    reals cut(4, untouched); // a shorter table
    ASSERT_EQ(imsl_ccf(view(early), view(late), 3, view(cut)), status_success);
    ASSERT_TRUE(run(early, late, 3));
    EXPECT_EQ(cut, reals(table.begin(), table.begin() + 4));
    EXPECT_FALSE(has_failed());
}

TEST(CorrelationWrapper, ChecksInItsOrderAndWritesNothingThen) {
    const reals zeros = {0, 1.1920929E-07F, -1e-8F}, missing(3, nan32), good = {1, 2, 4};
    struct {
        const char* message;
        reals x, y;
        i32 maxlag;
    } const rows[] = {{"two time series are in different size", {1}, good, 0},
                      {"number of obervation is less than 2", {1}, {1}, 0},
                      {"number of obervation is less than 2", {}, {}, 1},
                      {"i_maxlag is out of range", zeros, zeros, 0},
                      {"i_maxlag is out of range", zeros, zeros, 4},
                      {"x_xval is a zero array", zeros, zeros, 3},
                      {"x_xval is a zero array", missing, good, 2},
                      {"x_yval is a zero array", good, zeros, 2}};
    for (const auto& row : rows) {
        reals table(9, untouched);
        i32 lag = -99;
        EXPECT_EQ(imsl_ccf(view(row.x), view(row.y), row.maxlag, view(table), &lag), 3);
        support::expect_event(row.message, "imsl_ccf");
        EXPECT_EQ(table, reals(9, untouched)) << row.message;
        EXPECT_EQ(lag, -99);
    }
}

TEST(CorrelationWrapper, WhatTheCorrelationRefusesIsZeroAndNoFailure) {
    struct {
        const char* name;
        reals x, y;
        i32 maxlag;
    } const rows[] = {{"as many lags as observations", {1, 2, 4}, {1, 5, 4}, 3},
                      {"a missing value", {1, nan32, 4}, {1, 5, 4}, 1},
                      {"a constant series", {1, 3, 4}, {2, 2, 2}, 2}};
    for (const auto& row : rows) {
        clear_event();
        reals table(7, untouched);
        i32 lag = -99;
        f32 at_0 = untouched;
        EXPECT_EQ(imsl_ccf(view(row.x), view(row.y), row.maxlag, view(table), &lag, &at_0), 1);
        EXPECT_FALSE(has_failed()) << row.name;
        EXPECT_EQ(table, reals(7, 0.0F)) << row.name;
        EXPECT_TRUE(lag == 0 && at_0 == 0.0F) << row.name;
    }
}

// The uniform distribution on 10 to 20: a curve through a line is the line.
TEST(QuantileWrapper, ReadsValuesOutOfATableAndFailsForEveryRefusal) {
    const reals values = {10, 12.5F, 15, 20}, falls = {0, 0.5F, 0.25F, 1};
    struct {
        const char* name;
        reals wanted, values, probabilities, quantiles;
        bool fails = true;
    } const rows[] = {
        {"all", {0.75F, 0, 1}, values, {0, 0.25F, 0.5F, 1}, {17.5F, 10, 20}, false},
        {"fewer wanted", {0.125F}, values, {0, 0.25F, 0.5F, 1}, {11.25F, 0, 0}, false},
        {"beyond", {0.25F, 0.95F, 0.5F}, values, {0, 0.25F, 0.5F, 0.9F}, {12.5F, 0, 0}},
        {"three rows", {0.25F}, {10, 12.5F, 15}, {0, 0.25F, 1}, {0, 0, 0}},
        {"different extents", {0.25F}, values, {0, 0.25F, 0.5F, 0.8F, 1}, {0, 0, 0}},
        {"a table that falls", {0.25F}, values, falls, {0, 0, 0}}};
    for (const auto& row : rows) {
        clear_event();
        reals quantiles(3, untouched);
        EXPECT_EQ(
            imsl_GCIN(view(row.wanted), view(row.values), view(row.probabilities), view(quantiles)),
            row.fails ? 3 : 1)
            << row.name;
        if (row.fails) support::expect_event("IMSL GCIN Error", "imsl_GCIN/imsl_GCIN");
        EXPECT_FALSE(has_failed());
        EXPECT_EQ(quantiles, row.quantiles) << row.name;
    }
}

} // namespace
