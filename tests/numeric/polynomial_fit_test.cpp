// Polynomial fits against arithmetic of 400 digits, certified data, and their errors.
#include "numeric/arithmetic/guarded.hpp"
#include "numeric/polynomial/orthogonal_fit.hpp"
#include "numeric/polynomial/polynomial_fit.hpp"
#include "support/certified_set.hpp"
#include "support/expect_error.hpp"
#include "support/register_widths.hpp"

#include <boost/multiprecision/cpp_bin_float.hpp>

using namespace qmx;
using namespace qmx::numeric;

namespace {

using exact = boost::multiprecision::number<boost::multiprecision::cpp_bin_float<400>>;
using reals = std::vector<f64>;

constexpr f64 untouched = -77.0;

struct fit_result {
    reals B, SSPOLY, STAT;
    i32 type, code;
};

template <class X, class Y>
fit_result fit(const std::vector<X>& x, const std::vector<Y>& y, i32 degree) {
    ERSET(0, 0, 0);
    const std::size_t terms = degree >= 0 ? static_cast<std::size_t>(degree) + 1 : 1;
    fit_result r{reals(terms, untouched), reals(terms, untouched), reals(10, untouched), 0, 0};
    DRCURV(static_cast<i32>(x.size()), x.data(), y.data(), degree, r.B.data(), r.SSPOLY.data(),
           r.STAT.data());
    r.type = N1RTY(1);
    r.code = N1RCD(1);
    return r;
}

// Least squares by the textbook: normal equations in powers of x, and a regression for every degree.
std::vector<exact> textbook_coefficients(const reals& x, const reals& y, i32 degree) {
    const std::size_t m = static_cast<std::size_t>(degree) + 1;
    std::vector<std::vector<exact>> a(m, std::vector<exact>(m + 1));
    for (std::size_t i = 0; i < x.size(); ++i) {
        std::vector<exact> power(2 * m);
        power[0] = 1;
        for (std::size_t k = 1; k < 2 * m; ++k) power[k] = power[k - 1] * x[i];
        for (std::size_t r = 0; r < m; ++r) {
            for (std::size_t c = 0; c < m; ++c) a[r][c] += power[r + c];
            a[r][m] += power[r] * y[i];
        }
    }
    for (std::size_t k = 0; k < m; ++k)
        for (std::size_t r = 0; r < m; ++r) {
            if (r == k) continue;
            const exact factor = a[r][k] / a[k][k];
            for (std::size_t c = k; c <= m; ++c) a[r][c] -= factor * a[k][c];
        }
    std::vector<exact> b;
    for (std::size_t k = 0; k < m; ++k) b.push_back(a[k][m] / a[k][k]);
    return b;
}

exact error_sum(const reals& x, const reals& y, const std::vector<exact>& b) {
    exact sum = 0;
    for (std::size_t i = 0; i < x.size(); ++i) {
        exact value = 0;
        for (auto k = b.rbegin(); k != b.rend(); ++k) value = value * x[i] + *k;
        sum += (y[i] - value) * (y[i] - value);
    }
    return sum;
}

exact mean_of(const reals& v) {
    exact sum = 0;
    for (const f64 value : v) sum += value;
    return sum / v.size();
}

exact squares_about_mean(const reals& v) {
    return error_sum(v, v, {mean_of(v)});
}

::testing::AssertionResult is_near(f64 got, const exact& expected, f64 bound) {
    const exact error = expected == 0 ? abs(exact(got)) : abs(exact(got) / expected - 1);
    if (error <= bound) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure()
           << got << " is off " << expected.str(20) << " by a share of " << static_cast<f64>(error);
}

// Everything that a fit of full degree reports. The bounds: of sums and means, of what cancels.
void expect_textbook(const reals& x, const reals& y, i32 degree, f64 tight, f64 loose) {
    const fit_result got = fit(x, y, degree);
    ASSERT_EQ(got.type, 0);
    const auto b = textbook_coefficients(x, y, degree);
    for (std::size_t k = 0; k < b.size(); ++k) EXPECT_TRUE(is_near(got.B[k], b[k], loose)) << k;

    const exact n = x.size();
    const exact total = squares_about_mean(y);
    exact left = total;
    EXPECT_TRUE(is_near(got.SSPOLY[0], n * mean_of(y) * mean_of(y), loose));
    for (i32 k = 1; k <= degree; ++k) {
        const exact next = error_sum(x, y, textbook_coefficients(x, y, k));
        EXPECT_TRUE(is_near(got.SSPOLY[static_cast<std::size_t>(k)], left - next, loose)) << k;
        left = next;
    }
    EXPECT_TRUE(is_near(got.STAT[0], mean_of(x), loose));
    EXPECT_TRUE(is_near(got.STAT[1], mean_of(y), loose));
    EXPECT_TRUE(is_near(got.STAT[2], squares_about_mean(x) / (n - 1), tight));
    EXPECT_TRUE(is_near(got.STAT[3], total / (n - 1), tight));
    EXPECT_TRUE(is_near(got.STAT[4], 100 * (total - left) / total, loose));
    EXPECT_EQ(got.STAT[5], degree);
    EXPECT_TRUE(is_near(got.STAT[6], total - left, loose));
    EXPECT_EQ(got.STAT[7], static_cast<f64>(x.size()) - degree - 1);
    EXPECT_TRUE(is_near(got.STAT[8], left, tight));
    EXPECT_EQ(got.STAT[9], 0.0);
}

reals map(std::size_t n, auto rule) {
    reals v(n);
    for (std::size_t i = 0; i < n; ++i) v[i] = rule(static_cast<f64>(i));
    return v;
}

reals column_of(const std::vector<reals>& rows, std::size_t k) {
    return map(rows.size(), [&](f64 i) { return rows[static_cast<std::size_t>(i)].at(k); });
}

struct data_case {
    const char* name;
    f64 origin, width; // of the abscissas
    int shape;         // 0 even, 1 normal, 2 whole numbers, 3 a far outlier
    std::size_t n;
    i32 degree;
    f64 tight, loose;
};
const data_case data_cases[] = {{"few", 0, 1, 0, 20, 3, 3e-16, 1e-15},
                                {"few_high_degree_far_off_zero", -9, 6, 0, 82, 10, 3e-16, 1e-15},
                                {"few_beside_a_large_origin", 500000, 50, 0, 60, 4, 3e-16, 1e-15},
                                {"few_close_together_and_one_far", 0, 1, 3, 12, 3, 3e-16, 1e-15},
                                {"many", 0, 100, 0, 700, 5, 5e-16, 1e-12},
                                {"many_degree_0", 3, 1, 0, 700, 0, 5e-16, 1e-12},
                                {"many_degree_9", 0, 1, 0, 300, 9, 1e-15, 1e-11},
                                {"many_normal", 5, 2, 1, 500, 6, 1e-15, 1e-11},
                                {"many_repeated", 1, 40, 2, 500, 2, 5e-16, 1e-12},
                                {"many_close_together_and_one_far", 0, 1, 3, 300, 3, 3e-16, 1e-14}};
TEST(PolynomialFit, AgreesWithTheTextbookInManyDigits) {
    std::mt19937_64 random(3);
    std::normal_distribution<f64> normal;
    std::uniform_real_distribution<f64> even;
    for (const auto& c : data_cases) {
        SCOPED_TRACE(c.name);
        reals x = map(c.n, [&](f64) {
            const f64 at = c.shape == 1 ? normal(random) : even(random);
            return c.origin + (c.shape == 2 ? std::floor(at * c.width) : at * c.width);
        });
        if (c.shape == 3) x[c.n / 2] = 1e7;
        const reals y = map(c.n, [&](f64 i) {
            const f64 u = c.shape == 3 ? 0 : (x[static_cast<std::size_t>(i)] - c.origin) / c.width;
            return 20 + 3 * u - std::sin(u) + 0.2 * normal(random);
        });
        if (c.degree > 0) {
            expect_textbook(x, y, c.degree, c.tight, c.loose);
        } else {
            const fit_result got = fit(x, y, 0);
            EXPECT_TRUE(is_near(got.B[0], mean_of(y), c.tight));
            EXPECT_TRUE(is_near(got.STAT[8], squares_about_mean(y), c.tight));
            EXPECT_TRUE(std::isnan(got.STAT[0]) && std::isnan(got.STAT[2]));
            EXPECT_EQ(got.STAT[4], 0.0);
        }
    }
}

TEST(PolynomialFit, FindsThePolynomialThatTheOrdinatesWereMadeFrom) {
    // Whole numbers below 2^53: the ordinates are exact.
    for (const std::size_t n : {std::size_t{21}, std::size_t{1000}}) {
        const reals x = map(n, [&](f64 i) { return std::fmod(i, 21.0); });
        const reals y = map(n, [&](f64 i) {
            const f64 u = x[static_cast<std::size_t>(i)];
            return ((((u + 1) * u + 1) * u + 1) * u + 1) * u + 1;
        });
        const fit_result got = fit(x, y, 5);
        EXPECT_EQ(got.type, type_warning_everywhere);
        EXPECT_EQ(got.code, 11);
        for (const f64 b : got.B) EXPECT_NEAR(b, 1.0, 2.3e-16);
        EXPECT_EQ(got.STAT[8], 0.0);
        EXPECT_EQ(got.STAT[4], 100.0);
    }
}

TEST(PolynomialFit, ReachesTheCertifiedCoefficients) {
    if (!support::has_certified_sets()) GTEST_SKIP() << "QMX_IC_DATA is not set";
    for (const char* name : {"Wampler1", "Wampler2", "Wampler4"}) {
        const support::certified_set set = support::read_certified(name);
        ASSERT_EQ(set.rows.size(), 21U) << name;
        const fit_result got = fit(column_of(set.rows, 1), column_of(set.rows, 0), 5);
        for (std::size_t k = 0; k < 6; ++k) // reading decimal data as f64 alone costs two digits
            EXPECT_TRUE(is_near(got.B[k], set.after("B" + std::to_string(k)).at(0), 1e-13)) << name;
    }
}

// Abscissas far from the others: each degree loses as many digits as the distance has.
TEST(PolynomialFit, KeepsItsDigitsHoweverFarApartTheAbscissasLie) {
    std::mt19937_64 random(4);
    std::normal_distribution<f64> normal;
    const auto far = [](std::size_t n, f64 outlier) {
        reals x = map(n, [&](f64 i) { return 8 * i / static_cast<f64>(n - 2); });
        x[n / 3] = outlier;
        return x;
    };
    for (const reals& x :
         {far(20, 1e5), far(100, -1e5), far(21, 1e7), far(13, 1e12), far(300, 1e9), far(12, 1e-9),
          map(11, [](f64 i) { return std::pow(10, i - 3); }), // decades
          map(14, [](f64 i) { return std::pow(10, i * i / 10 - 6); }),
          map(24, [](f64 i) { return std::fmod(i, 4.0) + 1e6 * std::floor(i / 4); })}) {
        const reals y = map(x.size(), [&](f64 i) { return 10 + std::sin(i) + normal(random); });
        for (const i32 degree : {4, 6, 9}) {
            SCOPED_TRACE(testing::Message() << x.size() << " from " << x[0] << ", " << degree);
            expect_textbook(x, y, degree, 4e-16, 1e-15);
        }
    }
    // As many abscissas as coefficients: the polynomial goes through all points.
    const reals decades = map(10, [](f64 i) { return std::pow(10, i - 3); });
    const reals y = map(10, [](f64 i) { return std::cos(i); });
    const fit_result through = fit(decades, y, 9);
    EXPECT_EQ(through.code, 11);
    EXPECT_EQ(through.STAT[4], 100.0);
    EXPECT_EQ(through.STAT[8], 0.0);
    const auto b = textbook_coefficients(decades, y, 9);
    for (std::size_t k = 0; k < b.size(); ++k) EXPECT_TRUE(is_near(through.B[k], b[k], 3e-16)) << k;
}

// y = x + d (1, -2, 1) at -1, 0 and 1: the share that a line leaves is 3 d^2 / (1 + 3 d^2).
TEST(PolynomialFit, IsPerfectFromTenMachineEpsilonsOn) {
    for (const std::size_t times : {std::size_t{1}, std::size_t{300}})
        for (const f64 epsilons : {9.5, 10.5}) {
            const f64 d = std::sqrt(epsilons * std::numeric_limits<f64>::epsilon() / 3);
            const reals x = map(3 * times, [](f64 i) { return std::fmod(i, 3.0) - 1; });
            const reals y = map(x.size(), [&](f64 i) {
                const f64 u = x[static_cast<std::size_t>(i)];
                return u == 0 ? -2 * d : u + d;
            });
            const fit_result got = fit(x, y, 1);
            EXPECT_EQ(got.code, epsilons < 10 ? 11 : 0) << times << " times, " << epsilons;
            EXPECT_EQ(got.STAT[8] == 0.0, epsilons < 10);
        }
}

TEST(PolynomialFit, DoesNotDependOnTheOrderOfManyObservations) {
    std::mt19937_64 random(8);
    std::normal_distribution<f64> normal;
    reals x = map(3000, [&](f64 i) { return std::fmod(i, 400.0); });
    reals y = map(3000, [&](f64) { return normal(random) * std::exp(3 * normal(random)); });
    const fit_result first = fit(x, y, 4);
    for (int round = 0; round < 5; ++round) {
        for (std::size_t i = x.size(); i-- > 1;) {
            const std::size_t j = random() % (i + 1);
            std::swap(x[i], x[j]);
            std::swap(y[i], y[j]);
        }
        const fit_result again = fit(x, y, 4);
        EXPECT_EQ(again.B, first.B);
        EXPECT_EQ(again.STAT, first.STAT);
        EXPECT_EQ(again.SSPOLY, first.SSPOLY);
    }
}

TEST(PolynomialFit, FollowsTheUnitsOfTheData) {
    std::mt19937_64 random(9);
    std::normal_distribution<f64> normal;
    const auto times = [](reals v, int exponent) {
        for (f64& value : v) value = std::ldexp(value, exponent);
        return v;
    };
    for (const std::size_t n : {std::size_t{40}, std::size_t{400}}) {
        const reals x = map(n, [](f64 i) { return i / 7; });
        const reals y = map(n, [&](f64) { return 2 + normal(random); });
        const fit_result plain = fit(x, y, 2);
        for (const int exponent : {-1000, -300, 300, 520, 1000}) {
            const fit_result scaled = fit(x, times(y, exponent), 2);
            EXPECT_EQ(scaled.STAT[4], plain.STAT[4]) << "R-squared has no unit";
            EXPECT_EQ(scaled.B, times(plain.B, exponent));
            EXPECT_EQ(scaled.STAT[1], std::ldexp(plain.STAT[1], exponent));
            EXPECT_EQ(scaled.STAT[0], plain.STAT[0]);
        }
        const fit_result scaled = fit(times(x, 200), y, 2);
        for (std::size_t k = 0; k < 3; ++k)
            EXPECT_EQ(scaled.B[k], std::ldexp(plain.B[k], -200 * static_cast<int>(k)));
    }
}

TEST(PolynomialFit, SkipsAndCountsPairsWithANan) {
    std::mt19937_64 random(10);
    std::normal_distribution<f64> normal;
    for (const std::size_t n : {std::size_t{30}, std::size_t{600}}) {
        reals x = map(n, [](f64 i) { return i; }), y = map(n, [&](f64) { return normal(random); });
        const fit_result clean = fit(x, y, 3);
        x.insert(x.begin() + 11, 5.0);
        y.insert(y.begin() + 11, nan64);
        x.push_back(nan64);
        y.push_back(1.0);
        fit_result holed = fit(x, y, 3);
        EXPECT_EQ(holed.B, clean.B);
        EXPECT_EQ(std::exchange(holed.STAT[9], 0.0), 2.0);
        EXPECT_EQ(holed.STAT, clean.STAT);
    }
}

TEST(PolynomialFit, SaysWhatIsWrongAndFillsWhatItCan) {
    const reals nothing; // is written
    const auto expect = [&](const reals& x, const reals& y, i32 degree, i32 type, i32 code,
                            const reals& B, const std::string& message) {
        SCOPED_TRACE(message);
        const fit_result got = fit(x, y, degree);
        support::expect_error(type, code, message);
        if (B.empty()) {
            EXPECT_EQ(got.B[0], untouched);
            EXPECT_EQ(got.STAT, reals(10, untouched));
            return;
        }
        EXPECT_EQ(got.B, B);
        const f64 reached = got.STAT[5];
        EXPECT_EQ(got.STAT[7], static_cast<f64>(x.size()) - reached - 1);
        EXPECT_EQ(std::isnan(got.STAT[0]), reached == 0);
        EXPECT_EQ(std::isnan(got.STAT[2]), reached == 0);
        for (auto k = static_cast<std::size_t>(reached) + 1; k < got.SSPOLY.size(); ++k)
            EXPECT_EQ(got.SSPOLY[k], 0.0);
    };
    expect({}, {}, 1, 5, 1, nothing,
           "The number of observations must be at least 1 while NOBS = 0 is given.");
    expect(
        {1, 2}, {1, 2}, -1, 5, 2, nothing,
        "NDEG = -1.  The degree of the polynomial to be fit must be greater than or equal to 0.");
    expect({1}, {1}, 0, 5, 1, nothing,
           "NOBS = 1.  The number of observations, NOBS, must be greater than 1.");
    expect({nan64, 2}, {1, nan64}, 1, 4, 3, nothing,
           "There are no valid data points.  Each (x,y) pair contains NaN (not a number).");
    const char* alike = "The x values are constant.  At least two distinct x values are needed.";
    expect({3, 3, 3}, {1, 2, 3}, 1, 4, 7, nothing, alike);
    expect({3, nan64}, {1, 2}, 1, 4, 7, nothing, alike);
    const char* level = "The y values are constant.  A zero order polynomial is fit.  High order "
                        "coefficients are set to zero.";
    expect({1, 2, 4}, {0.1, 0.1, 0.1}, 2, 3, 4, {0.1, 0, 0}, level);
    expect({1, 2, 4}, {7, 7, 7}, 0, 3, 4, {7}, level);
    expect({1, 2, 3}, {1, 3, 5}, 1, 6, 11, {-1, 2},
           "The degree 1 polynomial fit is a perfect fit within machine precision.");
    const std::string lower = "A perfect fit was obtained with a polynomial of lower degree (=1) "
                              "than NDEG = ";
    expect({1, 2, 3}, {1, 3, 5}, 2, 3, 6, {-1, 2, 0}, lower + "2 as requested.");
    expect({0, 0, 1}, {1, 1, 2}, 3, 3, 6, {1, 1, 0, 0}, lower + "3 as requested.");
    expect({0, 0, 0, 1, 1}, {0, 1, 2, 3, 5}, 3, 3, 5, {1, 3, 0, 0},
           "A degree 1 polynomial is fitted.  There are only 2 distinct abscissas, so a higher "
           "degree polynomial fit cannot be computed.");
}

// The same warnings where the fit is made in f64.
TEST(PolynomialFit, StopsEarlyWithManyObservationsToo) {
    const reals x = map(900, [](f64 i) { return std::fmod(i, 3.0); });
    const reals noise = map(900, [](f64 i) { return std::fmod(i * 37, 11.0); });
    const fit_result few_abscissas = fit(x, noise, 6);
    EXPECT_EQ(few_abscissas.code, 5);
    EXPECT_EQ(few_abscissas.STAT[5], 2.0);
    const reals line = map(900, [](f64 i) { return 4 - 2 * std::fmod(i, 3.0); });
    const fit_result perfect = fit(x, line, 6);
    EXPECT_EQ(perfect.code, 6);
    EXPECT_EQ(perfect.B, (reals{4, -2, 0, 0, 0, 0, 0}));
    EXPECT_EQ(perfect.STAT[8], 0.0);
}

bool same_bits(const fit_result& a, const fit_result& b) {
    const auto same = [](const reals& v, const reals& w) {
        return v.size() == w.size() && std::memcmp(v.data(), w.data(), v.size() * sizeof(f64)) == 0;
    };
    return same(a.B, b.B) && same(a.SSPOLY, b.SSPOLY) && same(a.STAT, b.STAT) && a.type == b.type &&
           a.code == b.code;
}

// Data held in f32 give the fit of the same numbers in f64, whatever registers serve.
TEST(PolynomialFit, IsTheSameForNarrowDataAndInAllRegisters) {
    std::mt19937_64 random(12);
    std::normal_distribution<f32> normal;
    for (const std::size_t n : {20U, 257U, 511U, 512U, 513U, 2048U, 5003U})
        for (i32 degree = 0; degree <= 13; ++degree)
            for (int kind = 0; kind < 7; ++kind) {
                std::vector<f32> x(n), y(n);
                for (std::size_t i = 0; i < n; ++i) {
                    x[i] = kind == 1 ? static_cast<f32>(random() % 5) : 500 + 3 * normal(random);
                    if (kind == 2) x[i] = std::exp(10 * normal(random));
                    y[i] = 2 + normal(random) + (kind == 3 ? 1e6F : 0.1F) * x[i];
                    if (kind == 4) y[i] = 7;
                }
                if (kind == 5) x[n / 3] = y[n / 2] = nan32;
                if (kind == 6) y[n - 1] = inf32;
                const reals wide_x(x.begin(), x.end());
                const reals wide_y(y.begin(), y.end());
                const fit_result expected = fit(wide_x, wide_y, degree);
                support::with_each_register_width([&] {
                    EXPECT_TRUE(same_bits(fit(wide_x, wide_y, degree), expected))
                        << n << " pairs of kind " << kind << ", degree " << degree;
                    EXPECT_TRUE(same_bits(fit(x, wide_y, degree), expected) &&
                                same_bits(fit(wide_x, y, degree), expected))
                        << n << " pairs, half of them narrow, of kind " << kind;
                    EXPECT_TRUE(same_bits(fit(x, y, degree), expected))
                        << n << " narrow pairs of kind " << kind << ", degree " << degree;
                });
            }
}

TEST(PolynomialFit, OfAnInfiniteAbscissaExplainsNothing) {
    const fit_result got = fit(reals{1, 2, inf64, 4, 5}, reals{1, 3, 2, 5, 4}, 1);
    for (const std::size_t k : {4U, 6U, 8U}) EXPECT_TRUE(std::isnan(got.STAT[k])) << k;
    EXPECT_TRUE(std::isnan(got.B[0]) && std::isnan(got.B[1]));
    EXPECT_EQ(got.STAT[1], 3.0);
    EXPECT_EQ(got.STAT[3], 2.5) << "the ordinates' variance needs no abscissa";
}

TEST(GuardedQuotient, YieldsNoHardwareException) {
    constexpr f64 tiny = std::numeric_limits<f64>::min();
    constexpr f64 huge = std::numeric_limits<f64>::max();
    const struct {
        f64 a, b, quotient;
    } cases[] = {
        {6, 3, 2},           {nan64, 1, nan64},  {1, nan64, nan64},    {0, 0, nan64},
        {3, -0.0, -inf64},   {-3, -0.0, inf64},  {0, -0.0, nan64},     {-0.0, 0, nan64},
        {3, 0, inf64},       {-3, 0, -inf64},    {tiny, 2, 0},         {-tiny, 2, 0},
        {2 * tiny, 2, tiny}, {huge, 0.5, inf64}, {-huge, 0.5, -inf64}, {huge, -0.5, -inf64},
        {1, inf64, 0},       {0, 5, 0},          {0, 0.5, 0}};
    for (const auto& c : cases) {
        const f64 got = guarded_quotient(c.a, c.b);
        EXPECT_TRUE(std::isnan(c.quotient) ? std::isnan(got) : got == c.quotient)
            << c.a << " / " << c.b << " gives " << got;
    }
}

} // namespace
