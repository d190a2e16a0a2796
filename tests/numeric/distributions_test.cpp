// Plain values, endings and refusals of the quantiles and the incomplete beta ratio. Their accuracy
// is measured in accuracy_table_test.cpp.
#include "numeric/distributions/distributions.hpp"

#include "numeric/distributions/distribution_values.hpp"
#include "support/expect_error.hpp"

namespace {

using qmx::f32;
using qmx::f64;
using qmx::i32;
using namespace qmx::numeric;

constexpr f64 epsilon = std::numeric_limits<f64>::epsilon();

TEST(Distribution, HoldsWhereTheAnswerIsPlain) {
    EXPECT_EQ(ANORIN(0.5F), 0.0F);
    EXPECT_EQ(DNORIN(0.5), 0.0);
    EXPECT_EQ(ERFCI(1.0F), 0.0F);
    EXPECT_EQ(TIN(0.5F, 7.0F), 0.0F);
    EXPECT_EQ(DTIN(0.5, 1e7), 0.0);
    for (const f64 p : {1e-310, 0.02, 0.4, 0.6, 1.0 - epsilon})
        EXPECT_EQ(DNORIN(p), -1.4142135623730951 * DERFCI(2.0 * p));
    EXPECT_EQ(DTIN(0.03125, 6.5), -DTIN(0.96875, 6.5));
    EXPECT_EQ(TIN(1e-42F, 1.0F), -inf32);                             // -3e41, beyond f32
    EXPECT_NEAR(DTIN(0.75, 1.0), 1.0, 2 * epsilon);                   // Cauchy
    EXPECT_NEAR(DTIN(0.9, 2.0), 0.8 / std::sqrt(0.18), 4 * epsilon);  // algebraic
    EXPECT_NEAR(DCHIIN(0.3, 2.0), -2.0 * std::log(0.7), 4 * epsilon); // exponential
    EXPECT_EQ(DBETAI(0.0, 2.0, 3.0), 0.0);
    EXPECT_EQ(DBETAI(1.0, 2.0, 3.0), 1.0);
    for (const f64 x : {1e-300, 1e-9, 0.3, 0.5, 0.9, 1.0 - epsilon}) {
        EXPECT_NEAR(DBETAI(x, 1.0, 1.0) / x, 1.0, 4 * epsilon);
        EXPECT_NEAR(DBETAI(x, 3.5, 3.5) + DBETAI(1.0 - x, 3.5, 3.5), 1.0, 4 * epsilon);
    }
    // Far more degrees of freedom than data could have, and none at all to overflow.
    EXPECT_NEAR(DTIN(0.975, 1e300) / DNORIN(0.975), 1.0, 4 * epsilon);
    EXPECT_NEAR(DCHIIN(0.9, 1e30) / 1e30, 1.0 + DNORIN(0.9) * std::sqrt(2e-30), 4 * epsilon);
    EXPECT_EQ(DCHIIN(0.9, 1e300), 1e300);
    EXPECT_EQ(TIN(1e-44F, 1.0F), -std::numeric_limits<f32>::infinity());
    EXPECT_EQ(DTIN(0x1p-1074, 1.0), -inf64);
    EXPECT_EQ(CHIIN(1e-44F, 0.5F), 0.0F);
    EXPECT_EQ(DCHIIN(1e-300, 0.5), 0.0);
    EXPECT_EQ(DBETAI(0.5, inf64, 1.0), 0.0);
    EXPECT_EQ(DBETAI(0.5, 1.0, inf64), 1.0);
}

TEST(Distribution, SearchTellsHowItEnded) {
    const auto ending = [](const std::function<log_residual(f64)>& residual) {
        return logarithmic_newton(1.0, 1.0, residual).outcome;
    };
    const auto crossed = [](f64 x) { return log_residual{2.0 * std::log(x) - 1.0, 0.5}; };
    const auto endless = [](f64 x) { return log_residual{1.0, x > 1.5 ? 1.0 : -1.0}; };
    EXPECT_EQ(ending(crossed), search_outcome::converged);
    EXPECT_EQ(ending(endless), search_outcome::out_of_steps);
    EXPECT_EQ(ending([](f64) { return log_residual{nan64, 1.0}; }), search_outcome::left_the_range);
}

void expect_refusal(f64 result, i32 code, std::string_view message) {
    EXPECT_TRUE(std::isnan(result)) << message;
    support::expect_error(type_terminal, code, message);
    E1MES(0, 0, " ", 1); // clears what rose to this level
}

TEST(Distribution, RefusesWhatIsOutOfRange) {
    const auto open =
        "The argument to the function must be greater than 0.0 and less than 1.0.  P = |.";
    const auto to_two =
        "The argument to the function must be greater than 0.0 and less than 2.0.  X = |.";
    const auto t_open =
        "The input probability value, P = |, must be in the open interval (0.0,1.0).";
    const auto t_df = "The input number of degrees of freedom, DF = |, must be at least 1.";
    const auto chi_open = "The input probability, P = |, must be in the open interval (0.0, 1.0).";
    const auto chi_df = "The degrees of freedom, DF = |, must be greater than or equal to 0.5.";
    const auto range = "X = | is not in the range (0.0,1.0).";
    const auto shapes = "Both PIN = | must be greater than 0.0.";
    ERSET(0, 0, 0);
    for (const f32 x : {0.0F, 2.0F}) expect_refusal(ERFCI(x), 1, to_two);
    for (const f64 x : {0.0, 2.0}) expect_refusal(DERFCI(x), 1, to_two);
    for (const f32 p : {0.0F, 1.0F, NAN}) expect_refusal(ANORIN(p), 1, open);
    for (const f64 p : {-0.25, 1.5}) expect_refusal(DNORIN(p), 1, open);
    expect_refusal(TIN(0.0F, 5.0F), 1, t_open);
    expect_refusal(DTIN(1.0, 5.0), 1, t_open);
    expect_refusal(TIN(0.5F, 0.99F), 2, t_df);
    expect_refusal(DTIN(0.1, nan64), 2, t_df);
    expect_refusal(CHIIN(1.0F, 5.0F), 1, chi_open);
    expect_refusal(CHIIN(0.1F, 0.49F), 2, chi_df);
    for (const f64 x : {-1e-9, 1.5, nan64}) expect_refusal(DBETAI(x, 1, 1), 5, range);
    expect_refusal(DBETAI(0.5, 0, 1), 6, shapes);
    expect_refusal(DBETAI(0.5, 1, -1), 6, shapes);
    EXPECT_GT(DNORIN(0.9), 1.0);
    EXPECT_EQ(N1RTY(1), type_none);
}

} // namespace
