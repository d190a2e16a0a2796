#include "numeric/statistics/cross_correlation.hpp"

#include "base/work_array.hpp"
#include "numeric/arithmetic/machine.hpp"
#include "numeric/errors/numeric_frame.hpp"
#include "numeric/statistics/exact_mean.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

namespace qmx::numeric {
namespace {

// ---- Checks -------------------------------------------------------------------------------------

bool refuse_options(i32 n, i32 lags, i32 errors, i32 means, i32 print) {
    if (n < 2 || lags < 1 || lags >= n || errors < 0 || errors > 2) {
        E1STI(1, n);
        E1STI(2, lags);
        E1STI(3, errors);
        post(type_terminal, 1,
             "NOBS = %(I1), MAXLAG = %(I2), and ISEOPT = %(I3).  NOBS must be 2 or more and MAXLAG "
             "must be greater than or equal to 1 and less than NOBS.  ISEOPT must be 0, 1, or 2.");
        return true;
    }
    if (means < 0 || means > 1) {
        E1STI(1, means);
        post(type_terminal, 3, "IMEAN = %(I1).  IMEAN must be either 0 or 1.");
        return true;
    }
    if (print < 0 || print > 3) {
        E1STI(1, print);
        post(type_terminal, 4, "IPRINT = %(I1).  IPRINT must be either 0, 1, 2, or 3.");
        return true;
    }
    return false;
}

struct series_texts {
    i32 nan_code, constant_code, variance_code;
    std::string_view has_nan, is_constant, too_small;
};
constexpr series_texts texts_of_x = {
    7,
    9,
    11,
    "At least one element of X is equal to NaN (not a number).  The first element of X to equal "
    "NaN is X(%(I1)).",
    "The minimum element of X is X(%(I1)) = %(R1).  This equals the maximum element of X.  The "
    "series is constant.",
    "The variance of series X = XVAR  = %(R1).  This is too small to work with."};
constexpr series_texts texts_of_y = {
    8,
    10,
    12,
    "At least one element of Y is equal to NaN (not a number).  The first element of Y to equal "
    "NaN is Y(%(I1)).",
    "The minimum element of Y is Y(%(I1)) = %(R1).  This equals the maximum element of Y.  The "
    "series is constant.",
    "The variance of series Y = YVAR  = %(R1).  This is too small to work with."};

bool refuse_nan(const series_texts& texts, const f32* x, i32 n) {
    const f32* found = std::find_if(x, x + n, [](f32 value) { return value != value; });
    if (found == x + n) return false;
    E1STI(1, static_cast<i32>(found - x) + 1);
    post(type_terminal, texts.nan_code, texts.has_nan);
    return true;
}

bool refuse_constant(const series_texts& texts, const value_range& range) {
    if (range.lowest != range.highest) return false;
    E1STI(1, 1);
    E1STR(1, range.lowest);
    post(type_terminal, texts.constant_code, texts.is_constant);
    return true;
}

bool refuse_variance(const series_texts& texts, f32 variance) {
    if (!(variance < AMACH(1))) return false;
    E1STR(1, variance);
    post(type_terminal, texts.variance_code, texts.too_small);
    return true;
}

// ---- Covariances --------------------------------------------------------------------------------

struct series_mean {
    f64 value;
    f32 rounded;
};

series_mean mean_of_series(const f32* x, i32 n, const value_range& range, bool is_given,
                           f32 given) {
    if (is_given) return {f64{given}, given};
    if (!std::isfinite(range.lowest) || !std::isfinite(range.highest)) {
        const f64 sum = f64{range.lowest} + f64{range.highest};
        return {sum, static_cast<f32>(sum)};
    }
    const exact_mean mean = mean_of(x, n, range);
    return {mean.head, static_cast<f32>(mean.to_odd)};
}

// Deviations from the mean, padded with zeros for the lags that are summed together.
void deviations(const f32* x, i32 n, f64 mean, f64* deviation) {
    for (i64 t = 0; t < n; ++t) deviation[t] = f64{x[t]} - mean;
    std::fill_n(deviation + n, lag_padding, 0.0);
}

// Covariances of a with b at lags 0 to most, each summed in ascending t; consecutive lags are
// summed together, so that a value of a is loaded once for all of them.
void covariances(const f64* a, const f64* b, i64 n, i64 most, f64* covariance) {
    const f64 count = static_cast<f64>(n);
    for (i64 first = 0; first <= most; first += lag_padding) {
        f64 sums[lag_padding] = {};
        for (i64 t = 0; t < n - first; ++t)
            for (i64 j = 0; j < lag_padding; ++j) sums[j] += a[t] * b[t + first + j];
        const i64 lags = std::min<i64>(lag_padding, most - first + 1);
        for (i64 j = 0; j < lags; ++j) covariance[first + j] = sums[j] / count;
    }
}

void autocorrelations(const f64* deviation, i64 n, i64 most, f64 variance, f64* correlation) {
    covariances(deviation, deviation, n, most, correlation);
    for (i64 v = 0; v <= most; ++v) correlation[v] /= variance;
}

// ---- Standard errors ----------------------------------------------------------------------------

// Correlations of all lags, those of the series with themselves for lags from 0.
struct correlation_tables {
    const f64 *cross, *x, *y; // cross points at lag 0
    i64 most;

    f64 of_x(i64 v) const { return x[std::abs(v)]; }
    f64 of_y(i64 v) const { return y[std::abs(v)]; }
};

f64 standard_error(f64 sum, f64 magnitude, i64 pairs) {
    constexpr f64 rounding = 1.0e-12;
    if (sum < 0.0 && sum > -rounding * magnitude) return 0.0;
    return sum < 0.0 ? std::numeric_limits<f64>::quiet_NaN()
                     : std::sqrt(sum / static_cast<f64>(pairs));
}

void standard_errors(const correlation_tables& r, i64 n, bool are_correlated, f32* errors) {
    f64 of_both = 0.0, squares = 0.0, sizes = 0.0;
    for (i64 v = -r.most; v <= r.most; ++v) {
        const f64 x = r.of_x(v), y = r.of_y(v);
        of_both += x * y;
        sizes += std::abs(x * y);
        squares += r.cross[v] * r.cross[v] + 0.5 * (x * x + y * y);
    }
    for (i64 k = -r.most; k <= r.most; ++k) {
        const i64 pairs = n - std::abs(k);
        if (!are_correlated) {
            errors[r.most + k] = static_cast<f32>(standard_error(of_both, sizes, pairs));
            continue;
        }
        f64 mirrored = 0.0, shifted = 0.0; // sums over the lags at which all factors are known
        const i64 inner = r.most - std::abs(k);
        for (i64 v = -inner; v <= inner; ++v) mirrored += r.cross[k + v] * r.cross[k - v];
        const i64 last = std::min(r.most, r.most - k);
        for (i64 v = std::max(-r.most, -r.most - k); v <= last; ++v)
            shifted += r.of_x(v) * r.cross[v + k] + r.cross[-v] * r.of_y(v + k);
        const f64 here = r.cross[k];
        const f64 sum = of_both + mirrored + here * here * squares - 2.0 * here * shifted;
        const f64 magnitude =
            sizes + std::abs(mirrored) + here * here * squares + 2.0 * std::abs(here * shifted);
        errors[r.most + k] = static_cast<f32>(standard_error(sum, magnitude, pairs));
    }
}

} // namespace

void C2F(const f32* X, const f32* Y, const i32& NOBS, const i32& MAXLAG, const i32& ISEOPT,
         const i32& IMEAN, f32& XMEAN, f32& YMEAN, f32& XVAR, f32& YVAR, f32* CCV, f32* CC,
         f32* SECC, f64* XDEV, f64* YDEV, f64* WK) {
    const numeric_frame frame("C2F ");
    if (refuse_nan(texts_of_x, X, NOBS) || refuse_nan(texts_of_y, Y, NOBS)) return;
    const value_range range_x = range_of(X, NOBS), range_y = range_of(Y, NOBS);
    if (refuse_constant(texts_of_x, range_x) || refuse_constant(texts_of_y, range_y)) return;

    const series_mean mean_x = mean_of_series(X, NOBS, range_x, IMEAN == 0, XMEAN);
    const series_mean mean_y = mean_of_series(Y, NOBS, range_y, IMEAN == 0, YMEAN);
    deviations(X, NOBS, mean_x.value, XDEV);
    deviations(Y, NOBS, mean_y.value, YDEV);
    f64 variance_x = 0.0, variance_y = 0.0;
    covariances(XDEV, XDEV, NOBS, 0, &variance_x);
    covariances(YDEV, YDEV, NOBS, 0, &variance_y);
    const f32 rounded_x = static_cast<f32>(variance_x), rounded_y = static_cast<f32>(variance_y);
    if (refuse_variance(texts_of_x, rounded_x) || refuse_variance(texts_of_y, rounded_y)) return;
    XMEAN = mean_x.rounded;
    YMEAN = mean_y.rounded;
    XVAR = rounded_x;
    YVAR = rounded_y;

    // Negative lags are covariances of Y with later X, stored in reverse.
    const i64 most = MAXLAG, positions = 2 * most + 1;
    f64* cross = WK + most;
    covariances(YDEV, XDEV, NOBS, most, WK);
    std::reverse(WK, WK + most + 1);
    covariances(XDEV, YDEV, NOBS, most, cross);
    const f64 deviation_product = std::sqrt(variance_x * variance_y);
    for (i64 i = 0; i < positions; ++i) {
        CCV[i] = static_cast<f32>(WK[i]);
        WK[i] /= deviation_product;
        CC[i] = static_cast<f32>(WK[i]);
    }
    if (ISEOPT == 0) return;
    f64 *of_x = WK + positions, *of_y = of_x + most + 1;
    autocorrelations(XDEV, NOBS, most, variance_x, of_x);
    autocorrelations(YDEV, NOBS, most, variance_y, of_y);
    standard_errors({cross, of_x, of_y, most}, NOBS, ISEOPT == 1, SECC);
}

void CCF(const f32* X, const f32* Y, const i32& NOBS, const i32& MAXLAG, const i32& ISEOPT,
         const i32& IMEAN, const i32& IPRINT, f32& XMEAN, f32& YMEAN, f32& XVAR, f32& YVAR,
         f32* CCV, f32* CC, f32* SECC) {
    const numeric_frame frame("CCF ");
    if (refuse_options(NOBS, MAXLAG, ISEOPT, IMEAN, IPRINT)) return;
    const work_array<f64> deviations_x(i64{NOBS} + lag_padding);
    const work_array<f64> deviations_y(i64{NOBS} + lag_padding);
    const work_array<f64> tables(4 * i64{MAXLAG} + 3);
    if (!deviations_x || !deviations_y || !tables) {
        E1STI(1, NOBS);
        E1STI(2, MAXLAG);
        post(
            type_terminal, cross_correlation_storage_code,
            "The required storage cannot be allocated based upon NOBS = %(I1) and MAXLAG = %(I2).");
        return;
    }
    C2F(X, Y, NOBS, MAXLAG, ISEOPT, IMEAN, XMEAN, YMEAN, XVAR, YVAR, CCV, CC, SECC,
        deviations_x.data(), deviations_y.data(), tables.data());
}

} // namespace qmx::numeric
