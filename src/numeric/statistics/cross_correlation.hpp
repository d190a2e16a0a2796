// Cross-covariances and cross-correlations of two series, with Bartlett's standard errors.
//
//   CCV(k) = (1 / NOBS) sum over t of (x(t) - mean of x) (y(t + k) - mean of y)
//   CC(k)  = CCV(k) / (standard deviation of X * standard deviation of Y),  k = -MAXLAG to MAXLAG
//
// The sum is taken over the pairs that exist and divided by NOBS at every lag, so are the
// variances. Tables have 2 MAXLAG + 1 positions, lag 0 at position MAXLAG + 1; a positive lag
// compares a value of X with a later one of Y.
//
//   X, Y    [NOBS] series; NOBS >= 2, 1 <= MAXLAG < NOBS
//   ISEOPT  standard errors: 0 none (SECC may be null), 1 Bartlett's formula, 2 the same for series
//           that are not correlated with each other
//   IMEAN   0 the means are given in XMEAN and YMEAN, 1 they are computed and returned there
//   IPRINT  0 to 3; nothing is printed, results go to the arguments only
//   XVAR, YVAR       variances
//   CCV, CC, SECC    [2 MAXLAG + 1]
//
// Bartlett's formula (Box, Jenkins and Reinsel, "Time Series Analysis", 3rd edition, 1994, section
// 11.1.3, after Bartlett, 1955), with r for CC and rx, ry for the autocorrelations of the series:
//
//   (NOBS - |k|) SECC(k)^2 = sum over v of  rx(v) ry(v) + r(k + v) r(k - v)
//                            + r(k)^2 (r(v)^2 + rx(v)^2 / 2 + ry(v)^2 / 2)
//                            - 2 r(k) (rx(v) r(v + k) + r(-v) ry(v + k))
//
// of which option 2 keeps rx(v) ry(v). v goes from -MAXLAG to MAXLAG; correlations at larger lags
// are taken as 0. Sample correlations can make the sum negative; the standard error is then NaN, or
// 0 where the sum is negative by rounding only.
//
// Errors of type 5, everything is then unwritten: 1 sizes or ISEOPT, 2 memory, 3 IMEAN, 4 IPRINT,
// 7, 8 a NaN, 9, 10 a constant series, 11, 12 a variance below the smallest normal number. With an
// infinite value the results are not finite.
//
// Accuracy: sums are f64, each result is rounded once. Cost: NOBS * MAXLAG products.
#pragma once

#include "base/base_types.hpp"

namespace qmx::numeric {

void CCF(const f32* X, const f32* Y, const i32& NOBS, const i32& MAXLAG, const i32& ISEOPT,
         const i32& IMEAN, const i32& IPRINT, f32& XMEAN, f32& YMEAN, f32& XVAR, f32& YVAR,
         f32* CCV, f32* CC, f32* SECC);

// The worker of CCF, which has checked sizes and options. Work space: XDEV and YDEV of
// NOBS + lag_padding elements each, WK of 4 MAXLAG + 3.
void C2F(const f32* X, const f32* Y, const i32& NOBS, const i32& MAXLAG, const i32& ISEOPT,
         const i32& IMEAN, f32& XMEAN, f32& YMEAN, f32& XVAR, f32& YVAR, f32* CCV, f32* CC,
         f32* SECC, f64* XDEV, f64* YDEV, f64* WK);

inline constexpr i32 lag_padding = 8;
inline constexpr i32 cross_correlation_storage_code = 2; // type 5

} // namespace qmx::numeric
