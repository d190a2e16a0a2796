// The regression's rules: missing rows, few rows, constant columns, refusals.
#include "numeric/regression_call.hpp"

#include <gtest/gtest.h>

using namespace regression_test;

namespace {

TEST(MissingRows, AreLeftOutCountedAndStillPredicted) {
    auto data = made_up(9, 15, 0, 10, 0, 0.2, false, false, false);
    const regression whole = regress(data);
    auto holed = data;
    holed.insert(holed.begin() + 4, {nan64, 3.0});
    holed.insert(holed.begin() + 9, {data[2].x, nan64});
    holed.insert(holed.begin() + 11, {2.0, 2.0, nan64});
    holed.insert(holed.begin() + 13, {2.0, 2.0, 1.0, nan64});
    holed.back().future = nan64; // no column of the model
    const regression found = regress(holed);
    EXPECT_EQ(found.missing, 4);
    EXPECT_EQ(found.AOV[3], whole.AOV[3]);
    EXPECT_EQ(found.COEF[1][1], whole.COEF[1][1]);
    EXPECT_TRUE(std::isnan(found.CASE[4][1]));
    EXPECT_EQ(found.CASE[9][1], whole.CASE[2][1]) << "x alone is enough for a prediction";
    EXPECT_EQ(found.CASE[9][8], whole.CASE[2][8]);
    EXPECT_TRUE(std::isnan(found.CASE[9][0]) && std::isnan(found.CASE[9][2]));
    EXPECT_TRUE(std::isnan(found.CASE[9][3]));
    EXPECT_TRUE(std::isnan(found.CASE.back()[10]) && std::isfinite(found.CASE.back()[9]));
}

TEST(MissingRows, OnlyAreAFatalErrorThatIsSeen) {
    const regression found = regress({{nan64, 1}, {2, nan64}, {nan64, nan64}});
    EXPECT_EQ(found.type, 4);
    EXPECT_EQ(found.seen, 7);
    EXPECT_EQ(found.missing, 3);
    EXPECT_EQ(found.AOV[10], -7.0);
    EXPECT_EQ(last_message(), "Each row of X contains a missing  value.  There "
                              "are no valid observations.");
    EXPECT_EQ(regress({}).seen, 7);
}

TEST(FewRows, GiveTheLineWithoutInference) {
    const regression two = regress({{1.1, 3.3}, {nan64, 1}, {4.7, -2.9}});
    EXPECT_EQ(two.type, 6);
    EXPECT_EQ(two.code, 4);
    EXPECT_EQ(two.seen, 0);
    EXPECT_EQ(last_message(), "DFE = 0.  Statistical inference is not possible.  More "
                              "observations are needed.");
    EXPECT_EQ(two.AOV[0], 1);
    EXPECT_EQ(two.AOV[1], 0);
    EXPECT_EQ(two.AOV[2], 1);
    EXPECT_EQ(two.AOV[4], 0);
    EXPECT_EQ(two.AOV[10], 100);
    EXPECT_DOUBLE_EQ(two.COEF[1][0], -6.2 / 3.6);
    EXPECT_DOUBLE_EQ(two.COEF[0][0], 3.3 + 1.1 * 6.2 / 3.6);
    EXPECT_NEAR(two.CASE[2][1], -2.9, 1e-15);
    for (const std::size_t k : {7U, 8U, 9U, 11U, 12U, 14U})
        EXPECT_TRUE(std::isnan(two.AOV[k])) << k;
    for (const std::size_t k : {1U, 2U, 3U}) EXPECT_TRUE(std::isnan(two.COEF[1][k])) << k;
    EXPECT_TRUE(std::isnan(two.CASE[0][8]) && std::isnan(two.CASE[0][4]));

    const regression one = regress({{5, 8}});
    EXPECT_EQ(one.COEF[0][0], 8);
    EXPECT_EQ(one.COEF[1][0], 0);
    EXPECT_EQ(one.AOV[1], 0);
    const regression none = regress({{5, 8, 0}, {6, 9, 0}, {7, 10, 0}});
    EXPECT_EQ(none.code, 4);
    EXPECT_EQ(none.AOV[1], 0);
    EXPECT_TRUE(std::isnan(none.AOV[10]));
}

TEST(ConstantColumns, EstimateWhatCanBe) {
    struct {
        const char* name;
        f64 x;
    } const columns[] = {{"a place", 3.7}, {"zero", 0}, {"far", 5.8e6 + 1.0 / 3}, {"huge", -1e300}};
    const f64 y[] = {4.1, 9.2, 7.7, 4.4};
    constexpr f64 mean = 6.35;
    for (const auto& column : columns) {
        std::vector<observation> data;
        for (const f64 value : y) data.push_back({column.x, value});
        const regression found = regress(data);
        EXPECT_EQ(found.type, 0) << column.name;
        EXPECT_EQ(found.COEF[1][0], 0) << column.name;
        for (const std::size_t k : {1U, 2U, 3U, 4U}) EXPECT_TRUE(std::isnan(found.COEF[1][k]));
        EXPECT_DOUBLE_EQ(found.COEF[0][0], mean) << column.name;
        EXPECT_EQ(found.CASE[2][1], found.COEF[0][0]) << column.name;
        EXPECT_EQ(found.AOV[0], 0);
        EXPECT_EQ(found.AOV[1], 3);
        EXPECT_EQ(found.AOV[10], 0) << column.name;
        EXPECT_TRUE(std::isnan(found.AOV[8]));
        EXPECT_EQ(found.TESTLF[1], 0);
        EXPECT_DOUBLE_EQ(found.TESTLF[5], found.AOV[5]) << "all scatter is pure error";
    }
    // A spread below the pivot's tolerance is none; one well above it is.
    const f64 step = std::ldexp(1.0, -45);
    EXPECT_EQ(regress({{1, 1}, {1 + step / 8, 2}, {1 - step / 8, 4}}).COEF[1][0], 0);
    EXPECT_DOUBLE_EQ(regress({{1, 1}, {1 + 4 * step, 2}, {1 + 8 * step, 3}}).COEF[1][0],
                     1 / (4 * step));

    const regression flat = regress({{1, 0.1}, {2, 0.1}, {3.3, 0.1}});
    EXPECT_EQ(flat.COEF[1][0], 0);
    EXPECT_EQ(flat.COEF[0][0], 0.1);
    EXPECT_EQ(flat.AOV[5], 0);
    EXPECT_TRUE(std::isnan(flat.AOV[10]));

    const regression perfect = regress({{1, 3}, {2, 5}, {3, 7}, {10, 21}});
    EXPECT_EQ(perfect.COEF[0][0], 1);
    EXPECT_EQ(perfect.COEF[1][0], 2);
    EXPECT_EQ(perfect.AOV[4], 0);
    EXPECT_EQ(perfect.AOV[8], INFINITY);
    EXPECT_EQ(perfect.AOV[9], 0);

    const regression origin = regress({{0, 1}, {0, 2}, {0, 4}}, 0);
    EXPECT_EQ(origin.COEF[1][0], 0);
    EXPECT_EQ(origin.AOV[1], 3);
    EXPECT_EQ(origin.AOV[4], 21);
}

TEST(InfiniteValues, MakeTheLineUndefinedAndNothingHangs) {
    const f64 infinite = INFINITY;
    for (const i32 intercept : {0, 1})
        for (const observation& bad :
             {observation{infinite, 1}, observation{1, -infinite}, observation{1, 1, infinite},
              observation{1, 1, 1, infinite}}) {
            const regression found = regress({{1, 2}, {2, 3}, bad, {3, 5}}, intercept);
            EXPECT_EQ(found.type, 0);
            EXPECT_TRUE(std::isnan(found.COEF[1][0]));
            EXPECT_TRUE(std::isnan(found.AOV[10]));
            EXPECT_TRUE(std::isnan(found.CASE[0][1]));
        }
}

struct refusal {
    const char* name;
    i32 type, code;
    // NOBS NCOL LDX INTCEP IRSP IND IFRQ IWT IPRED IPRINT LDCOEF LDCOVB LDCASE, and 1 where NRMISS
    // is still written.
    std::array<i32, 14> arguments;
    f64 mean_confidence, prediction_confidence;
};

TEST(Arguments, AreCheckedBeforeAnythingIsWritten) {
    const refusal rows[] = {
        {"NOBS", 5, 1, {-1, 2, 3, 1, 2, 1, 0, 0, 0, 0, 2, 2, 3, 0}, 95, 95},
        {"NCOL", 5, 2, {3, 0, 3, 1, 2, 1, 0, 0, 0, 0, 2, 2, 3, 0}, 95, 95},
        {"LDX", 5, 3, {3, 2, 2, 1, 2, 1, 0, 0, 0, 0, 2, 2, 3, 0}, 95, 95},
        {"INTCEP", 5, 4, {3, 2, 3, 2, 2, 1, 0, 0, 0, 0, 3, 3, 3, 0}, 95, 95},
        {"IRSP", 5, 5, {3, 2, 3, 1, 0, 1, 0, 0, 0, 0, 2, 2, 3, 0}, 95, 95},
        {"IND", 5, 6, {3, 2, 3, 1, 2, 3, 0, 0, 0, 0, 2, 2, 3, 0}, 95, 95},
        {"IFRQ", 5, 7, {3, 2, 3, 1, 2, 1, -1, 0, 0, 0, 2, 2, 3, 0}, 95, 95},
        {"IWT", 5, 8, {3, 2, 3, 1, 2, 1, 0, 3, 0, 0, 2, 2, 3, 0}, 95, 95},
        {"IPRED", 5, 9, {3, 2, 3, 1, 2, 1, 0, 0, 3, 0, 2, 2, 3, 0}, 95, 95},
        {"CONPCM", 5, 10, {3, 2, 3, 1, 2, 1, 0, 0, 0, 0, 2, 2, 3, 0}, 100, 95},
        {"CONPCP", 5, 11, {3, 2, 3, 1, 2, 1, 0, 0, 0, 0, 2, 2, 3, 0}, 95, nan64},
        {"IPRINT", 5, 12, {3, 2, 3, 1, 2, 1, 0, 0, 0, 4, 2, 2, 3, 0}, 95, 95},
        {"LDCOEF", 5, 13, {3, 2, 3, 1, 2, 1, 0, 0, 0, 0, 1, 2, 3, 0}, 95, 95},
        {"LDCOVB", 5, 14, {3, 2, 3, 1, 2, 1, 0, 0, 0, 0, 2, 1, 3, 0}, 95, 95},
        {"LDCASE", 5, 15, {3, 2, 3, 1, 2, 1, 0, 0, 0, 0, 2, 2, 2, 0}, 95, 95},
        {"frequency", 4, 1, {3, 2, 3, 1, 2, 1, 2, 0, 0, 0, 2, 2, 3, 1}, 95, 95},
        {"weight", 4, 2, {3, 2, 3, 1, 2, 1, 0, 2, 0, 0, 2, 2, 3, 1}, 95, 95},
    };
    const f64 X[6] = {1, 2, 3, 4, -5, 7};
    for (const refusal& row : rows) {
        const auto& a = row.arguments;
        f64 AOV[15], COEF[15], COVB[9], TESTLF[10], CASE[36];
        std::fill_n(AOV, 15, -7.0);
        i32 missing = -7;
        ERSET(0, 0, 0);
        DRONE(a[0], a[1], X, a[2], a[3], a[4], a[5], a[6], a[7], a[8], row.mean_confidence,
              row.prediction_confidence, a[9], AOV, COEF, a[10], COVB, a[11], TESTLF, CASE, a[12],
              missing);
        EXPECT_EQ(N1RTY(1), row.type) << row.name;
        EXPECT_EQ(N1RCD(1), row.code) << row.name;
        EXPECT_EQ(last_message().find("%("), std::string_view::npos) << last_message();
        EXPECT_EQ(AOV[3], -7.0) << row.name;
        EXPECT_EQ(missing == -7, a[13] == 0) << row.name;
    }
    const auto data = made_up(3, 9, 0, 1, 0, 0.1, false, false, false);
    const regression low = regress(data, 1, 20.0, 90.0);
    EXPECT_EQ(low.type, 6);
    EXPECT_EQ(low.code, 10);
    EXPECT_EQ(low.seen, 0);
    EXPECT_TRUE(last_message().ends_with("confidence percentages are 90.0, 95.0 or 99.0."));
    EXPECT_LT(low.CASE[0][8], low.CASE[0][9]);
    const regression zero = regress(data, 1, 0.0, 90.0);
    EXPECT_EQ(zero.CASE[0][8], zero.CASE[0][9]) << "no confidence, no margin";
}

} // namespace
