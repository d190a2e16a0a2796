// The regression's rules: missing rows, few rows, constant columns, refusals.
#include "numeric/regression_call.hpp"

using namespace regression_test;

namespace {

std::vector<f64> picked(const std::vector<f64>& table, const std::vector<std::size_t>& places) {
    std::vector<f64> values;
    for (const std::size_t k : places) values.push_back(table[k]);
    return values;
}
void expect_line(const regression& found, f64 intercept, f64 slope) {
    EXPECT_EQ(found.COEF[0][0], intercept);
    EXPECT_EQ(found.COEF[1][0], slope);
}

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
    support::expect_error(
        4, 7, "Each row of X contains a missing  value.  There are no valid observations.");
    EXPECT_EQ(found.seen, 7);
    EXPECT_EQ(found.missing, 3);
    EXPECT_EQ(found.AOV[10], -7.0);
    EXPECT_EQ(regress({}).seen, 7);
}

TEST(FewRows, GiveTheLineWithoutInference) {
    const regression two = regress({{1.1, 3.3}, {nan64, 1}, {4.7, -2.9}});
    support::expect_error(
        6, 4, "DFE = 0.  Statistical inference is not possible.  More observations are needed.");
    EXPECT_EQ(two.seen, 0);
    EXPECT_EQ(picked(two.AOV, {0, 1, 2, 4, 10}), (std::vector<f64>{1, 0, 1, 0, 100}));
    EXPECT_DOUBLE_EQ(two.COEF[1][0], -6.2 / 3.6);
    EXPECT_DOUBLE_EQ(two.COEF[0][0], 3.3 + 1.1 * 6.2 / 3.6);
    EXPECT_NEAR(two.CASE[2][1], -2.9, 1e-15);
    for (const std::size_t k : {7U, 8U, 9U, 11U, 12U, 14U})
        EXPECT_TRUE(std::isnan(two.AOV[k])) << k;
    for (const std::size_t k : {1U, 2U, 3U}) EXPECT_TRUE(std::isnan(two.COEF[1][k])) << k;
    EXPECT_TRUE(std::isnan(two.CASE[0][8]) && std::isnan(two.CASE[0][4]));

    const regression one = regress({{5, 8}});
    expect_line(one, 8, 0);
    EXPECT_EQ(one.AOV[1], 0);
    const regression none = regress({{5, 8, 0}, {6, 9, 0}, {7, 10, 0}});
    EXPECT_EQ(none.code, 4);
    EXPECT_EQ(none.AOV[1], 0);
    EXPECT_TRUE(std::isnan(none.AOV[10]));
}

TEST(ConstantColumns, EstimateWhatCanBe) {
    constexpr f64 mean = 6.35;
    for (const f64 x : {3.7, 0.0, 5.8e6 + 1.0 / 3, -1e300}) {
        const regression found = regress({{x, 4.1}, {x, 9.2}, {x, 7.7}, {x, 4.4}});
        EXPECT_EQ(found.type, 0) << x;
        EXPECT_EQ(found.COEF[1][0], 0) << x;
        for (const std::size_t k : {1U, 2U, 3U, 4U}) EXPECT_TRUE(std::isnan(found.COEF[1][k])) << x;
        EXPECT_DOUBLE_EQ(found.COEF[0][0], mean) << x;
        EXPECT_EQ(found.CASE[2][1], found.COEF[0][0]) << x;
        EXPECT_EQ(picked(found.AOV, {0, 1, 10}), (std::vector<f64>{0, 3, 0})) << x;
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
    expect_line(flat, 0.1, 0);
    EXPECT_EQ(flat.AOV[5], 0);
    EXPECT_TRUE(std::isnan(flat.AOV[10]));

    const regression perfect = regress({{1, 3}, {2, 5}, {3, 7}, {10, 21}});
    expect_line(perfect, 1, 2);
    EXPECT_EQ(picked(perfect.AOV, {4, 8, 9}), (std::vector<f64>{0, inf64, 0}));

    const regression origin = regress({{0, 1}, {0, 2}, {0, 4}}, 0);
    EXPECT_EQ(origin.COEF[1][0], 0);
    EXPECT_EQ(picked(origin.AOV, {1, 4}), (std::vector<f64>{3, 21}));
}

TEST(VarianceInflation, OfTheOnlyRegressorIsOne) {
    for (unsigned seed = 1; seed <= 300; ++seed)
        for (const i32 intercept : {0, 1}) {
            const auto data = made_up(seed, 7, 3, 10, 0, 0.2, false, true, true);
            ASSERT_EQ(regress(data, intercept).COEF[1][4], 1.0) << seed;
        }
}

// Without an intercept the row at 1 beside one at d has the leverage 1 / (1 + d^2).
TEST(Leverage, OfOneWithinAHundredMachineEpsilonsLeavesNoResidualStatistics) {
    for (const f64 epsilons : {95.0, 105.0}) {
        const f64 d = std::sqrt(epsilons * std::numeric_limits<f64>::epsilon());
        const auto row = regress({{1, 2}, {d, 3}, {d / 1e8, 1}}, 0).CASE[0];
        EXPECT_NEAR(row[3], 1.0, 1e-13);
        for (const std::size_t k : {4U, 5U, 6U, 7U})
            EXPECT_EQ(std::isnan(row[k]), epsilons < 100) << epsilons << ", column " << k + 1;
    }
}

TEST(InfiniteValues, MakeTheLineUndefinedAndNothingHangs) {
    const f64 far = INFINITY;
    const observation rows[] = {{far, 1}, {1, -far}, {1, 1, far}, {1, 1, 1, far}};
    for (const i32 intercept : {0, 1})
        for (const observation& bad : rows) {
            const regression found = regress({{1, 2}, {2, 3}, bad, {3, 5}}, intercept);
            EXPECT_EQ(found.type, 0);
            EXPECT_TRUE(std::isnan(found.COEF[1][0]));
            EXPECT_TRUE(std::isnan(found.AOV[10]));
            EXPECT_TRUE(std::isnan(found.CASE[0][1]));
        }
}

// The arguments of a call that is accepted; a row of the test changes one of them.
struct arguments {
    i32 NOBS = 3, NCOL = 2, LDX = 3, INTCEP = 1, IRSP = 2, IND = 1, IFRQ = 0, IWT = 0, IPRED = 0,
        IPRINT = 0, LDCOEF = 2, LDCOVB = 2, LDCASE = 3;
};

TEST(Arguments, AreCheckedBeforeAnythingIsWritten) {
    const f64 X[6] = {1, 2, 3, 4, -5, 7};
    const auto refuse = [&](i32 type, i32 code, const std::string& message, const arguments& a,
                            f64 of_mean = 95, f64 of_prediction = 95) {
        f64 AOV[15], COEF[15], COVB[9], TESTLF[10], CASE[36];
        std::fill_n(AOV, 15, -7.0);
        i32 missing = -7;
        ERSET(0, 0, 0);
        DRONE(a.NOBS, a.NCOL, X, a.LDX, a.INTCEP, a.IRSP, a.IND, a.IFRQ, a.IWT, a.IPRED, of_mean,
              of_prediction, a.IPRINT, AOV, COEF, a.LDCOEF, COVB, a.LDCOVB, TESTLF, CASE, a.LDCASE,
              missing);
        support::expect_error(type, code, message + "|");
        EXPECT_EQ(AOV[3], -7.0) << message;
        EXPECT_EQ(missing == -7, type == type_terminal) << message;
    };
    refuse(5, 1, "NOBS = -1.", {.NOBS = -1});
    refuse(5, 2, "NCOL = 0.", {.NCOL = 0});
    refuse(5, 3, "LDX = 2 and NOBS = 3.", {.LDX = 2});
    refuse(5, 4, "INTCEP = 2.", {.INTCEP = 2, .LDCOEF = 3, .LDCOVB = 3});
    refuse(5, 5, "IRSP = 0 and NCOL = 2.", {.IRSP = 0});
    refuse(5, 5, "IRSP = 3 and NCOL = 2.", {.IRSP = 3});
    refuse(5, 6, "IND = 0 and NCOL = 2.", {.IND = 0});
    refuse(5, 6, "IND = 3 and NCOL = 2.", {.IND = 3});
    refuse(5, 7, "IFRQ = -1 and NCOL = 2.", {.IFRQ = -1});
    refuse(5, 7, "IFRQ = 3 and NCOL = 2.", {.IFRQ = 3});
    refuse(5, 8, "IWT = -1 and NCOL = 2.", {.IWT = -1});
    refuse(5, 8, "IWT = 3 and NCOL = 2.", {.IWT = 3});
    refuse(5, 9, "IPRED = -1 and NCOL = 2.", {.IPRED = -1});
    refuse(5, 9, "IPRED = 3 and NCOL = 2.", {.IPRED = 3});
    refuse(5, 10, "CONPCM = 100.", {}, 100);
    refuse(5, 11, "CONPCP = NaN.", {}, 95, nan64);
    refuse(5, 12, "IPRINT = -1.", {.IPRINT = -1});
    refuse(5, 12, "IPRINT = 4.", {.IPRINT = 4});
    refuse(5, 13, "LDCOEF = 1.  LDCOEF must be greater than or equal to INTCEP + 1 = 2.",
           {.LDCOEF = 1});
    refuse(5, 14, "LDCOVB = 1.", {.LDCOVB = 1});
    refuse(5, 15, "LDCASE = 2 and NOBS = 3.", {.LDCASE = 2});
    refuse(4, 1, "The frequency in row 2 of X is -5.", {.IFRQ = 2});
    refuse(4, 2, "The weight in row 2 of X is -5.", {.IWT = 2});
    const auto data = made_up(3, 9, 0, 1, 0, 0.1, false, false, false);
    const regression low = regress(data, 1, 20.0, 90.0);
    support::expect_error(6, 10, "|confidence percentages are 90.0, 95.0 or 99.0.");
    EXPECT_EQ(low.seen, 0);
    EXPECT_LT(low.CASE[0][8], low.CASE[0][9]);
    const regression zero = regress(data, 1, 0.0, 90.0);
    EXPECT_EQ(zero.CASE[0][8], zero.CASE[0][9]) << "no confidence, no margin";
}

} // namespace
