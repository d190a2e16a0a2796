// Cross-correlations against the plain definition, identities of Bartlett's formula and its closed
// forms.
#include "numeric/statistics/cross_correlation.hpp"
#include "support/expect_error.hpp"

using namespace qmx;
using namespace qmx::numeric;

namespace {

constexpr f32 untouched = -777.0F;
using wide = long double;

struct outcome {
    f32 mean_x = untouched, mean_y = untouched, variance_x = untouched, variance_y = untouched;
    std::vector<f32> covariance, correlation, error;
    i32 type = 0, code = 0;
    i32 lags = 0;
    f32 at(const std::vector<f32>& table, i32 k) const {
        return table[static_cast<std::size_t>(k + lags)];
    }
};

struct options {
    i32 errors = 0, means = 1, print = 0;
    f32 mean_x = untouched, mean_y = untouched;
};

outcome correlate(const std::vector<f32>& x, const std::vector<f32>& y, i32 lags,
                  const options& given = {}) {
    outcome result;
    result.lags = lags;
    result.mean_x = given.mean_x;
    result.mean_y = given.mean_y;
    const auto positions = static_cast<std::size_t>(lags > 0 ? 2 * lags + 1 : 1);
    for (auto* table : {&result.covariance, &result.correlation, &result.error})
        table->assign(positions, untouched);
    ERSET(0, 0, 0);
    CCF(x.data(), y.data(), static_cast<i32>(x.size()), lags, given.errors, given.means,
        given.print, result.mean_x, result.mean_y, result.variance_x, result.variance_y,
        result.covariance.data(), result.correlation.data(), result.error.data());
    result.type = N1RTY(1);
    result.code = N1RCD(1);
    return result;
}

// ---- The definition, term by term ----------------------------------------------------------------

wide plain_mean(const std::vector<f32>& x) {
    wide sum = 0;
    for (const f32 value : x) sum += value;
    return sum / static_cast<wide>(x.size());
}

wide plain_covariance(const std::vector<f32>& x, const std::vector<f32>& y, wide mean_x,
                      wide mean_y, i32 k) {
    const i32 n = static_cast<i32>(x.size());
    wide sum = 0;
    for (i32 t = 0; t < n; ++t)
        if (t + k >= 0 && t + k < n)
            sum += (x[static_cast<std::size_t>(t)] - mean_x) *
                   (y[static_cast<std::size_t>(t + k)] - mean_y);
    return sum / n;
}

wide plain_correlation(const std::vector<f32>& x, const std::vector<f32>& y, i32 k, i32 most) {
    if (std::abs(k) > most) return 0;
    const wide mx = plain_mean(x), my = plain_mean(y);
    return plain_covariance(x, y, mx, my, k) /
           std::sqrt(plain_covariance(x, x, mx, mx, 0) * plain_covariance(y, y, my, my, 0));
}

// Square of Bartlett's standard error, every term written out.
wide plain_square(const std::vector<f32>& x, const std::vector<f32>& y, i32 k, i32 most,
                  bool are_correlated) {
    const auto xx = [&](i32 v) { return plain_correlation(x, x, v, most); };
    const auto yy = [&](i32 v) { return plain_correlation(y, y, v, most); };
    const auto xy = [&](i32 v) { return plain_correlation(x, y, v, most); };
    wide sum = 0;
    for (i32 v = -most; v <= most; ++v) {
        sum += xx(v) * yy(v);
        if (!are_correlated) continue;
        sum += xy(k + v) * xy(k - v);
        sum += xy(k) * xy(k) * (xy(v) * xy(v) + xx(v) * xx(v) / 2 + yy(v) * yy(v) / 2);
        sum -= 2 * xy(k) * (xx(v) * xy(v + k) + xy(-v) * yy(v + k));
    }
    return sum / (static_cast<wide>(x.size()) - std::abs(k));
}

// ---- Series -------------------------------------------------------------------------------------

std::vector<f32> noise(int n, unsigned seed) {
    std::mt19937 engine(seed);
    std::normal_distribution<f64> normal;
    std::vector<f32> x;
    for (int i = 0; i < n; ++i) x.push_back(static_cast<f32>(normal(engine)));
    return x;
}

// x(t) = phi x(t - 1) + noise
std::vector<f32> autoregression(int n, f64 phi, unsigned seed) {
    std::vector<f32> x = noise(n, seed);
    for (std::size_t t = 1; t < x.size(); ++t)
        x[t] = static_cast<f32>(phi * f64{x[t - 1]} + f64{x[t]});
    return x;
}

void expect_relative(f32 got, wide expected, wide scale, const std::string& what) {
    EXPECT_LE(std::abs(got - expected), 1.0e-7L * scale) << what << ": " << got;
}

TEST(CrossCorrelation, AgreesWithItsDefinitionAndBartlettsSum) {
    struct {
        const char* name;
        std::vector<f32> x, y;
        i32 lags;
    } rows[] = {
        {"shortest", {1, 2}, {5, 3}, 1},
        {"all lags", noise(12, 1), noise(12, 2), 11},
        {"related", autoregression(50, 0.6, 3), noise(50, 3), 12},
        {"opposed", autoregression(50, 0.6, 3), noise(50, 3), 5},
        {"far from 0", noise(60, 4), noise(60, 5), 17},
        {"more lags than are summed together", noise(90, 6), autoregression(90, 0.9, 7), 20}};
    for (f32& value : rows[3].y) value = -value;
    for (f32& value : rows[4].x) value += 10000;
    for (f32& value : rows[4].y) value -= 20000;
    for (const auto& row : rows) {
        const outcome got = correlate(row.x, row.y, row.lags, {1});
        const outcome unrelated = correlate(row.x, row.y, row.lags, {2});
        EXPECT_EQ(got.type, 0) << row.name;
        const wide mean_x = plain_mean(row.x), mean_y = plain_mean(row.y);
        const wide variance_x = plain_covariance(row.x, row.x, mean_x, mean_x, 0);
        const wide variance_y = plain_covariance(row.y, row.y, mean_y, mean_y, 0);
        EXPECT_EQ(got.mean_x, static_cast<f32>(mean_x)) << row.name;
        EXPECT_EQ(got.mean_y, static_cast<f32>(mean_y)) << row.name;
        expect_relative(got.variance_x, variance_x, variance_x, row.name);
        expect_relative(got.variance_y, variance_y, variance_y, row.name);
        const wide scale = std::sqrt(variance_x * variance_y);
        for (i32 k = -row.lags; k <= row.lags; ++k) {
            const wide expected = plain_covariance(row.x, row.y, mean_x, mean_y, k);
            const std::string what = row.name + std::string(", lag ") + std::to_string(k);
            expect_relative(got.at(got.covariance, k), expected, scale, what);
            expect_relative(got.at(got.correlation, k), expected / scale, 1, what);
            for (const bool are_correlated : {true, false}) {
                const f32 error = got.at(are_correlated ? got.error : unrelated.error, k);
                const wide sum = plain_square(row.x, row.y, k, row.lags, are_correlated);
                if (sum > 1e-12L) expect_relative(error, std::sqrt(sum), 1, what);
                EXPECT_TRUE(sum >= -1e-9L || std::isnan(error)) << what;
            }
        }
    }
    EXPECT_EQ(correlate({1, 2}, {5, 3}, 1).error[0], untouched) << "none were asked for";
}

TEST(CrossCorrelation, FindsADelayAtItsPositiveLag) {
    const std::vector<f32> source = noise(205, 8);
    const std::vector<f32> x(source.begin() + 5, source.end()), y(source.begin(), source.end() - 5);
    const outcome got = correlate(x, y, 10); // y(t + 5) = x(t)
    EXPECT_GT(got.at(got.correlation, 5), 0.9F);
    EXPECT_LT(got.at(got.correlation, -5), 0.4F);
}

TEST(CrossCorrelation, TakesMeansThatAreGiven) {
    const std::vector<f32> x = {1, 2, 4}, y = {3, 1, 2};
    const outcome got = correlate(x, y, 1, {0, 0, 3, 1, 2});
    EXPECT_EQ(got.mean_x, 1.0F);
    EXPECT_EQ(got.mean_y, 2.0F);
    EXPECT_EQ(got.variance_x, 10.0F / 3.0F); // 0, 1, 3
    EXPECT_EQ(got.variance_y, 2.0F / 3.0F);  // 1, -1, 0
    EXPECT_EQ(got.at(got.covariance, -1), -2.0F / 3.0F);
    EXPECT_EQ(got.at(got.covariance, 0), -1.0F / 3.0F);
    EXPECT_EQ(got.at(got.covariance, 1), 0.0F);
}

// ---- Standard errors ----------------------------------------------------------------------------

TEST(StandardErrors, ReachTheirClosedFormsInLongSeries) {
    constexpr int n = 100000;
    constexpr f64 phi_x = 0.6, phi_y = 0.5;
    const outcome independent =
        correlate(autoregression(n, phi_x, 1), autoregression(n, phi_y, 2), 40, {2});
    const f64 expected = std::sqrt((1 + phi_x * phi_y) / (1 - phi_x * phi_y) / n);
    EXPECT_NEAR(f64{independent.at(independent.error, 0)} / expected, 1.0, 0.02);

    // Two series without memory, correlated at lag 0: (1 - rho^2) / sqrt(n) there.
    constexpr f64 rho = 0.6;
    const std::vector<f32> x = noise(n, 3), other = noise(n, 4);
    std::vector<f32> y;
    for (std::size_t t = 0; t < x.size(); ++t)
        y.push_back(static_cast<f32>(rho * f64{x[t]} + std::sqrt(1 - rho * rho) * f64{other[t]}));
    const outcome related = correlate(x, y, 20, {1});
    EXPECT_NEAR(f64{related.at(related.error, 0)} * std::sqrt(n), 1 - rho * rho, 0.02);
    EXPECT_NEAR(f64{related.at(related.error, 7)} * std::sqrt(n - 7), 1.0, 0.02);
}

TEST(StandardErrors, OfACertainCorrelationAreZeroAndOfANegativeVarianceNaN) {
    const std::vector<f32> x = autoregression(70, 0.4, 5);
    for (const f32 slope : {1.0F, -3.0F, 0.1F}) {
        std::vector<f32> y;
        for (const f32 value : x) y.push_back(slope * value);
        const outcome got = correlate(x, y, 15, {1});
        EXPECT_NEAR(got.at(got.error, 0), 0.0F, 1e-4F) << slope;
        EXPECT_GT(got.at(got.error, 3), 0.05F) << slope;
    }
    EXPECT_EQ(correlate(x, x, 15, {1}).error[15], 0.0F);
    // One alternates, the other rises: the product of their autocorrelations sums to less than 0.
    std::vector<f32> alternating, rising;
    for (int t = 0; t < 20; ++t) {
        alternating.push_back(t % 2 == 0 ? 1.0F : -1.0F);
        rising.push_back(static_cast<f32>(t));
    }
    ASSERT_LT(plain_square(alternating, rising, 0, 1, false), -1e-3L);
    const outcome got = correlate(alternating, rising, 1, {2});
    EXPECT_TRUE(std::isnan(got.error[1]));
    EXPECT_EQ(got.type, 0);
}

// ---- Refusals -----------------------------------------------------------------------------------

TEST(CrossCorrelation, RefusesWhatItCannotCorrelate) {
    const auto refuse = [](i32 code, const std::vector<f32>& x, const std::vector<f32>& y, i32 lags,
                           const options& given, const std::string& message) {
        const outcome got = correlate(x, y, lags, given);
        support::expect_error(type_terminal, code, message + "|");
        EXPECT_EQ(got.mean_x, untouched) << message;
        EXPECT_EQ(got.variance_x, untouched) << message;
        EXPECT_EQ(got.correlation[0], untouched) << message;
    };
    refuse(1, {1}, {2}, 1, {},
           "NOBS = 1, MAXLAG = 1, and ISEOPT = 0.  NOBS must be 2 or more and MAXLAG must be "
           "greater than or equal to 1 and less than NOBS.  ISEOPT must be 0, 1, or 2.");
    refuse(1, {1, 2}, {2, 1}, 2, {}, "NOBS = 2, MAXLAG = 2, and ISEOPT = 0.");
    refuse(1, {1, 2}, {2, 1}, 0, {}, "NOBS = 2, MAXLAG = 0, and ISEOPT = 0.");
    refuse(1, {1, 2}, {2, 1}, 1, {3}, "NOBS = 2, MAXLAG = 1, and ISEOPT = 3.");
    refuse(1, {1, 2}, {2, 1}, 1, {-1}, "NOBS = 2, MAXLAG = 1, and ISEOPT = -1.");
    refuse(3, {1, 2}, {2, 1}, 1, {0, -1}, "IMEAN = -1.  IMEAN must be either 0 or 1.");
    refuse(4, {1, 2}, {2, 1}, 1, {0, 1, -1}, "IPRINT = -1.  IPRINT must be either 0, 1, 2, or 3.");
    refuse(3, {1, 2}, {2, 1}, 1, {0, 2}, "IMEAN = 2.  IMEAN must be either 0 or 1.");
    refuse(4, {1, 2}, {2, 1}, 1, {0, 1, 4}, "IPRINT = 4.  IPRINT must be either 0, 1, 2, or 3.");
    refuse(7, {1, nan32, nan32}, {1, 1, 1}, 1, {},
           "At least one element of X is equal to NaN (not a number).  The first element of X to "
           "equal NaN is X(2).");
    refuse(8, {1, 1, 1}, {1, 1, nan32}, 1, {},
           "At least one element of Y is equal to NaN (not a number).  The first element of Y to "
           "equal NaN is Y(3).");
    refuse(9, {7, 7}, {3, 3}, 1, {},
           "The minimum element of X is X(1) = 7.  This equals the maximum element of X.  The "
           "series is constant.");
    refuse(10, {1, 2}, {3, 3}, 1, {}, "The minimum element of Y is Y(1) = 3.");
    refuse(11, {0, 1e-20F}, {1, 2}, 1, {}, "The variance of series X = XVAR  = ");
    refuse(12, {1, 2}, {0, 1e-30F}, 1, {},
           "The variance of series Y = YVAR  = 0.  This is too small to work with.");
    const outcome got = correlate({1, inf32, 2}, {1, 2, 4}, 1);
    EXPECT_EQ(got.type, 0);
    EXPECT_TRUE(std::isnan(got.correlation[1]));
}

} // namespace
