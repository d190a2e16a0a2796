// Quantiles and the incomplete beta ratio against Boost.Math in 50-digit arithmetic. A quantile is
// judged by the probability that Boost finds at it, turned into an error of the quantile by the
// density there; so no other solver's tolerance is counted as ours. Each test prints its worst and
// mean error and the row of the worst.
#include "numeric/distributions.hpp"

#include "numeric/distribution_values.hpp"
#include "numeric/error_stack.hpp"

#include <gtest/gtest.h>

#include <boost/math/special_functions/beta.hpp>
#include <boost/math/special_functions/erf.hpp>
#include <boost/math/special_functions/gamma.hpp>
#include <boost/multiprecision/cpp_bin_float.hpp>

#include <bit>
#include <cmath>
#include <cstdio>
#include <functional>
#include <iostream>
#include <random>
#include <string>
#include <vector>

namespace {

using qmx::f32;
using qmx::f64;
using qmx::i32;
using namespace qmx::numeric;
using exact = boost::multiprecision::cpp_bin_float_50;

constexpr f64 epsilon = std::numeric_limits<f64>::epsilon();
constexpr f64 infinity = std::numeric_limits<f64>::infinity();
constexpr f64 nan = std::numeric_limits<f64>::quiet_NaN();

// Relative errors, by (probability found - wanted) / (variable * density).

f64 student_error(f64 t, f64 p, f64 df) {
    const exact square = exact(t) * t;
    const exact whole = df + square;
    const exact a = exact(df) / 2;
    const exact half(0.5);
    const exact stretch = square * df / (whole * whole);
    if (square < 3) {
        const exact y = square / whole;
        const exact miss = boost::math::ibeta(half, a, y) / 2 - abs(exact(p) - half);
        return static_cast<f64>(miss / (boost::math::ibeta_derivative(half, a, y) * stretch));
    }
    const exact x = df / whole;
    const exact tail = p < 0.5 ? exact(p) : 1 - exact(p);
    const exact miss = tail - boost::math::ibeta(a, half, x) / 2;
    return static_cast<f64>(miss / (boost::math::ibeta_derivative(a, half, x) * stretch));
}

f64 chi_squared_error(f64 x, f64 p, f64 df) {
    const exact a = exact(df) / 2;
    const exact u = exact(x) / 2;
    const exact miss = p <= 0.5 ? exact(boost::math::gamma_p(a, u) - p)
                                : exact(1 - exact(p) - boost::math::gamma_q(a, u));
    return static_cast<f64>(miss / (boost::math::gamma_p_derivative(a, u) * u));
}

f64 normal_error(f64 x, f64 p) {
    const long double z = std::fabs(static_cast<long double>(x)) / std::sqrt(2.0L);
    const long double slope = 2 * z * std::exp(-z * z) / std::sqrt(std::acos(-1.0L));
    const f64 tail = p < 0.5 ? p : 1.0 - p;
    const long double miss =
        tail > 0.25 ? boost::math::erf(z) - 2 * (0.5L - tail) : 2.0L * tail - boost::math::erfc(z);
    return static_cast<f64>(miss / slope);
}

f64 beta_error(f64 value, f64 x, f64 a, f64 b) {
    const exact truth = boost::math::ibeta(exact(a), exact(b), exact(x));
    return static_cast<f64>((value - truth) / truth);
}

// A relative error of an f32 value in units of its last place.
f64 in_last_places(f64 relative_error, f32 value) {
    const f32 size = std::fabs(value);
    return relative_error * f64(size) / (f64(std::nextafter(size, INFINITY)) - f64(size));
}

std::string row_of(std::initializer_list<f64> values) {
    std::string text;
    for (const f64 value : values) {
        char number[40];
        std::snprintf(number, sizeof number, "%s%.17g", text.empty() ? "" : ", ", value);
        text += number;
    }
    return text;
}

class tally {
public:
    void add(f64 error, std::initializer_list<f64> row) {
        const f64 size = std::isnan(error) ? infinity : std::fabs(error);
        sum_ += size;
        ++count_;
        if (size > worst_) {
            worst_ = size;
            row_ = row_of(row);
        }
    }
    void expect_within(f64 bound, const char* what, const char* unit) const {
        std::cout << what << ": worst " << worst_ << " at (" << row_ << "), mean " << sum_ / count_
                  << ' ' << unit << ", " << count_ << " rows\n";
        EXPECT_LE(worst_, bound) << what << " at " << row_;
        EXPECT_GT(count_, 100);
    }

private:
    f64 worst_ = 0.0;
    f64 sum_ = 0.0;
    i32 count_ = 0;
    std::string row_;
};

// Probabilities of both tails, the usual levels, and the places where a method hands over.
std::vector<f64> probabilities() {
    std::vector<f64> list = {0x1p-1074,
                             1e-310,
                             1e-290,
                             1e-200,
                             1e-100,
                             1e-50,
                             1e-30,
                             1e-20,
                             1e-12,
                             1e-8,
                             1e-6,
                             1e-4,
                             0.001,
                             0.005,
                             0.01,
                             0.025,
                             0.0499,
                             0.05,
                             0.0501,
                             0.1,
                             0.2,
                             0.2499,
                             0.25,
                             0.3,
                             0.4,
                             0.45,
                             0.499,
                             0.4999999,
                             0.49999999999999994};
    for (std::size_t i = list.size(); i-- > 0;) {
        if (1.0 - list[i] < 1.0 && 1.0 - list[i] > 0.5) list.push_back(1.0 - list[i]);
    }
    list.push_back(1.0 - epsilon / 2);
    return list;
}

const f64 degrees[] = {1,   1.25,  2,   2.999, 3,    4.5,     9.99, 10,  29.5,    100,
                       399, 400.5, 402, 1000,  3000, 12345.6, 1e5,  1e6, 9999999, 1e7};

class random_arguments {
public:
    f64 uniform(f64 low, f64 high) {
        return std::uniform_real_distribution<f64>(low, high)(engine_);
    }
    f64 log_uniform(f64 low, f64 high) { return std::exp(uniform(std::log(low), std::log(high))); }
    // By turns: all f32 below 1 with equal weight, even over (0, 1), and close to 1.
    f32 probability() {
        switch (turn_++ % 3) {
        case 0:
            return std::bit_cast<f32>(std::uniform_int_distribution<i32>(1, 0x3f7fffff)(engine_));
        case 1: return static_cast<f32>(uniform(1e-6, 0.999999));
        default: return 1.0F - static_cast<f32>(log_uniform(0x1p-24, 0.5));
        }
    }

private:
    std::mt19937_64 engine_{20240229};
    i32 turn_ = 0;
};

TEST(DistributionAccuracy, NormalQuantileF64) {
    tally errors;
    for (const f64 p : probabilities()) errors.add(normal_error(DNORIN(p), p) / epsilon, {p});
    for (f64 p = 0.49; p > 1e-320; p *= 0.83) errors.add(normal_error(DNORIN(p), p) / epsilon, {p});
    errors.expect_within(8, "DNORIN", "epsilon");
    for (const f64 p : probabilities()) EXPECT_EQ(DERFCI(2.0 * p) * -1.4142135623730951, DNORIN(p));
}

void sweep_normal_f32(i32 stride, f64 bound) {
    tally errors;
    const auto check = [&](i32 bits) {
        const f32 p = std::bit_cast<f32>(bits);
        const f32 x = ANORIN(p);
        errors.add(in_last_places(normal_error(x, p), x), {p});
    };
    constexpr i32 last = 0x3f7fffff; // the f32 below 1
    for (i32 bits = 1; bits <= last - stride; bits += stride) {
        if (bits != 0x3f000000) check(bits);
    }
    for (i32 k = 0; k < 2000; ++k) {
        check(1 + k);
        check(last - k);
        check(0x3f000000 - 1 - k);
        check(0x3f000000 + 1 + k);
    }
    errors.expect_within(bound, "ANORIN", "units in the last place");
}

TEST(DistributionAccuracy, NormalQuantileF32) {
    sweep_normal_f32(4096, 0.501);
}

// All 2^30 probabilities, some minutes:
//   test_numeric --gtest_also_run_disabled_tests --gtest_filter='*EveryF32*'
TEST(DistributionAccuracy, DISABLED_NormalQuantileOfEveryF32) {
    sweep_normal_f32(1, 0.501);
}

TEST(DistributionAccuracy, StudentQuantile) {
    tally errors;
    for (const f64 df : degrees) {
        for (const f64 p : probabilities()) {
            const f64 t = DTIN(p, df);
            if (std::isinf(t)) continue;
            errors.add(student_error(t, p, df) / epsilon, {p, df});
        }
    }
    errors.expect_within(45, "DTIN", "epsilon"); // 1e-14
    tally single;
    random_arguments random;
    for (i32 k = 0; k < 1500; ++k) {
        const f32 p = random.probability();
        const f32 df = static_cast<f32>(random.log_uniform(1.0, 1e7));
        const f32 t = TIN(p, df);
        if (p == 0.5F || std::isinf(t)) continue;
        single.add(in_last_places(student_error(t, p, df), t), {p, df});
    }
    single.expect_within(0.501, "TIN", "units in the last place");
}

TEST(DistributionAccuracy, ChiSquaredQuantile) {
    tally errors;
    std::vector<f64> all_degrees(std::begin(degrees), std::end(degrees));
    all_degrees.insert(all_degrees.end(), {0.5, 0.75});
    for (const f64 df : all_degrees) {
        for (const f64 p : probabilities()) {
            const f64 x = DCHIIN(p, df);
            if (x < 1e-300) continue; // digits are lost to underflow
            errors.add(chi_squared_error(x, p, df) / epsilon, {p, df});
        }
    }
    errors.expect_within(45, "DCHIIN", "epsilon"); // 1e-14
    tally single;
    random_arguments random;
    for (i32 k = 0; k < 700; ++k) {
        const f32 p = random.probability();
        const f32 df = static_cast<f32>(random.log_uniform(0.5, 1e7));
        const f32 x = CHIIN(p, df);
        if (x < std::numeric_limits<f32>::min()) continue;
        single.add(in_last_places(chi_squared_error(x, p, df), x), {p, df});
    }
    single.expect_within(0.501, "CHIIN", "units in the last place");
}

TEST(DistributionAccuracy, BetaRatioOfTests) {
    const f64 numerators[] = {1, 2, 3, 5, 10, 50, 399, 401, 1000, 1e5, 1e7};
    const f64 ratios[] = {1e-10, 1e-5, 0.01, 0.1, 0.5, 0.9, 0.99, 0.9999, 1,   1.0001, 1.01,
                          1.1,   1.5,  2,    3,   4,   7,   10,   30,     100, 1000,   1e5};
    tally errors;
    const auto check = [&](f64 x, f64 a, f64 b) {
        const f64 value = DBETAI(x, a, b);
        if (value >= 1e-300) errors.add(beta_error(value, x, a, b) / epsilon, {x, a, b});
    };
    for (const f64 dfn : numerators) {
        for (const f64 dfd : degrees) {
            for (const f64 f : ratios) {
                const f64 x = dfd / (dfd + dfn * f);
                check(x, 0.5 * dfd, 0.5 * dfn);
                check(1.0 - x, 0.5 * dfd, 0.5 * dfn);
            }
        }
    }
    // Just past the mean, where the fraction from the wrong side begins with a denominator near 0.
    check(0.99997665560511395, 150102.65925917885, 2.505543420740949);
    random_arguments random;
    for (i32 k = 0; k < 3000; ++k) {
        const f64 a = random.log_uniform(0.5, k % 3 == 0 ? 5e6 : 1e5);
        const f64 b = k % 2 == 0 ? random.log_uniform(0.5, 5e6) : 0.5 * (1 + k % 40);
        const f64 near_mean = 1.0 + random.uniform(-8, 8) * std::sqrt(1.0 / a + 1.0 / b);
        const f64 f = k % 4 == 0 ? std::fmax(near_mean, 1e-3) : random.log_uniform(1e-5, 1e5);
        check(a / (a + b * f), a, b);
    }
    errors.expect_within(90, "DBETAI, F tests", "epsilon"); // 2e-14
}

TEST(DistributionAccuracy, BetaRatioAnywhere) {
    tally errors;
    random_arguments random;
    for (i32 k = 0; k < 1500; ++k) {
        const f64 a = random.log_uniform(1e-3, 1e8);
        const f64 b = random.log_uniform(1e-3, 1e8);
        const f64 mean = a / (a + b);
        const f64 spread = std::sqrt(mean * (1.0 - mean) / (a + b + 1.0));
        const f64 x = k % 2 == 0
                          ? random.uniform(0.0, 1.0)
                          : std::fmin(std::fmax(mean + random.uniform(-9, 9) * spread, 0.0), 1.0);
        const f64 value = DBETAI(x, a, b);
        if (value < 1e-300) continue;
        errors.add(beta_error(value, x, a, b) / epsilon, {x, a, b});
    }
    errors.expect_within(45000, "DBETAI, anywhere", "epsilon"); // 1e-11
}

TEST(Distribution, HoldsWhereTheAnswerIsPlain) {
    EXPECT_EQ(ANORIN(0.5F), 0.0F);
    EXPECT_EQ(DNORIN(0.5), 0.0);
    EXPECT_EQ(ERFCI(1.0F), 0.0F);
    EXPECT_EQ(TIN(0.5F, 7.0F), 0.0F);
    EXPECT_EQ(DTIN(0.5, 1e7), 0.0);
    EXPECT_EQ(DTIN(0.03125, 6.5), -DTIN(0.96875, 6.5));
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
    EXPECT_EQ(DTIN(0x1p-1074, 1.0), -infinity);
    EXPECT_EQ(CHIIN(1e-44F, 0.5F), 0.0F);
    EXPECT_EQ(DCHIIN(1e-300, 0.5), 0.0);
    EXPECT_EQ(DBETAI(0.5, infinity, 1.0), 0.0);
    EXPECT_EQ(DBETAI(0.5, 1.0, infinity), 1.0);
}

TEST(Distribution, SearchTellsHowItEnded) {
    const auto ending = [](const std::function<log_residual(f64)>& residual) {
        return logarithmic_newton(1.0, 1.0, residual).outcome;
    };
    EXPECT_EQ(ending([](f64 x) {
                  return log_residual{2.0 * std::log(x) - 1.0, 0.5};
              }),
              search_outcome::converged);
    EXPECT_EQ(ending([](f64 x) {
                  return log_residual{1.0, x > 1.5 ? 1.0 : -1.0};
              }),
              search_outcome::out_of_steps);
    EXPECT_EQ(ending([](f64) { return log_residual{nan, 1.0}; }), search_outcome::left_the_range);
}

struct refusal {
    const char* name;
    std::function<f64()> call;
    i32 code;
    const char* message; // its beginning and, after a '|', its end; the value stands between
};

TEST(Distribution, RefusesWhatIsOutOfRange) {
    const char* open =
        "The argument to the function must be greater than 0.0 and less than 1.0.  P = |.";
    const char* t_open =
        "The input probability value, P = |, must be in the open interval (0.0,1.0).";
    const char* t_df = "The input number of degrees of freedom, DF = |, must be at least 1.";
    const char* chi_open = "The input probability, P = |, must be in the open interval (0.0, 1.0).";
    const char* chi_df = "The degrees of freedom, DF = |, must be greater than or equal to 0.5.";
    const char* range = "X = | is not in the range (0.0,1.0).";
    const char* shapes = "Both PIN = | must be greater than 0.0.";
    const refusal refusals[] = {
        {"normal at 0", [] { return ANORIN(0.0F); }, 1, open},
        {"normal at 1", [] { return ANORIN(1.0F); }, 1, open},
        {"normal of NaN", [] { return ANORIN(NAN); }, 1, open},
        {"f64 normal below 0", [] { return DNORIN(-0.25); }, 1, open},
        {"f64 normal above 1", [] { return DNORIN(1.5); }, 1, open},
        {"t at 0", [] { return TIN(0.0F, 5.0F); }, 1, t_open},
        {"f64 t at 1", [] { return DTIN(1.0, 5.0); }, 1, t_open},
        {"t of few degrees", [] { return TIN(0.5F, 0.99F); }, 2, t_df},
        {"f64 t of NaN degrees", [] { return DTIN(0.1, nan); }, 2, t_df},
        {"chi-squared at 1", [] { return CHIIN(1.0F, 5.0F); }, 1, chi_open},
        {"chi-squared of few degrees", [] { return CHIIN(0.1F, 0.49F); }, 2, chi_df},
        {"beta below 0", [] { return DBETAI(-1e-9, 1, 1); }, 5, range},
        {"beta of NaN", [] { return DBETAI(nan, 1, 1); }, 5, range},
        {"beta without first shape", [] { return DBETAI(0.5, 0, 1); }, 6, shapes},
        {"beta without second shape", [] { return DBETAI(0.5, 1, -1); }, 6, shapes}};
    ERSET(0, 0, 0);
    for (const refusal& row : refusals) {
        SCOPED_TRACE(row.name);
        EXPECT_TRUE(std::isnan(row.call()));
        EXPECT_EQ(N1RTY(1), type_terminal);
        EXPECT_EQ(N1RCD(1), row.code);
        EXPECT_EQ(IERCD(), 0);
        const std::string_view expected = row.message;
        const auto gap = expected.find('|');
        EXPECT_TRUE(last_message().starts_with(expected.substr(0, gap))) << last_message();
        EXPECT_TRUE(last_message().ends_with(expected.substr(gap + 1))) << last_message();
        EXPECT_EQ(last_message().find('%'), std::string_view::npos);
        E1MES(0, 0, " ", 1); // clears what rose to this level
    }
    EXPECT_GT(DNORIN(0.9), 1.0);
    EXPECT_EQ(N1RTY(1), type_none);
}

} // namespace
