// Chamber polynomial: least squares fits of polynomials by orthogonal polynomials, in f64 where
// that is exact enough, else in double-double, expanded into powers of x. Called by the toolkit's
// curve routines only.
//
//     y(i) = B(1) + B(2) x(i) + ... + B(NDEG + 1) x(i)^NDEG + e(i)
//
//   NOBS   pairs, 1 or more; a pair with a NaN is skipped and counted
//   XDATA  [NOBS] abscissas
//   YDATA  [NOBS] ordinates
//   NDEG   degree, 0 or more
//   B      [NDEG + 1] coefficients, constant term first, for x in its own units
//   SSPOLY [NDEG + 1] sequential sums of squares: element 1 for the mean, element i + 1 for the
//          term of degree i given those below it
//   STAT   [10] 1 mean of x, 2 mean of y, 3 variance of x, 4 variance of y, 5 R-squared in percent,
//          6 degrees of freedom and 7 sum of squares of the regression, 8 and 9 the same of the
//          error, 10 number of pairs with a NaN. For a fit of degree 0 elements 1 and 3 are NaN
//
// The degree that is fitted may be lower than NDEG (errors of type 3); the rest of B and SSPOLY is
// then 0.0.
//
//   type  code  meaning                                              outputs
//   5     1     NOBS below 1, or a single pair                       unwritten
//   5     2     NDEG below 0                                         unwritten
//   5     3     memory ran out                                       unwritten
//   4     3     no pair without a NaN                                unwritten
//   4     7     all abscissas alike                                  unwritten
//   3     4     all ordinates alike: degree 0                        filled
//   3     5     degree NDEG needs more distinct abscissas            filled
//   3     6     a perfect fit below NDEG                             filled
//   6     11    a perfect fit at NDEG; its error sum is 0.0          filled
//
// Method and accuracy: see orthogonal_fit.hpp. The expansion into powers is made in double-double;
// where it would amplify the errors of a fit in f64 too much, the fit is repeated in double-double.
#pragma once

#include "base/array_view.hpp"
#include "numeric/polynomial/column_read_as.hpp"

namespace qmx::numeric {

inline constexpr i32 fit_statistics = 10; // elements of STAT

// Code of the terminal error of DRCURV that says memory ran out.
inline constexpr i32 curve_storage_code = 3;

// The data may be held in f32 as well; the fit is that of the same numbers in f64. x_extent, if not
// null, receives the extremes of the abscissas of pairs without a NaN; where there was nothing to
// fit it stays as it was.
void DRCURV(const i32& NOBS, const column_read_as<f64>& XDATA, const column_read_as<f64>& YDATA,
            const i32& NDEG, f64* B, f64* SSPOLY, f64* STAT, value_extent* x_extent = nullptr);

// The layer below, without the checks of its arguments. Returns false when memory ran out.
bool DR2URV(const i32& NOBS, const column_read_as<f64>& XDATA, const column_read_as<f64>& YDATA,
            const i32& NDEG, f64* B, f64* SSPOLY, f64* STAT, value_extent* x_extent = nullptr);

// The same for views, which may be strided: NOBS is the extent of XDATA, NDEG that of B less one;
// SSPOLY and STAT may be empty. Both data views must have the same extent.
void DRCURV(const array_view<const f64>& XDATA, const array_view<const f64>& YDATA,
            const array_view<f64>& B, const array_view<f64>& SSPOLY, const array_view<f64>& STAT,
            value_extent* x_extent = nullptr);
void DRCURV(const array_view<const f32>& XDATA, const array_view<const f32>& YDATA,
            const array_view<f64>& B, const array_view<f64>& SSPOLY, const array_view<f64>& STAT,
            value_extent* x_extent = nullptr);

} // namespace qmx::numeric
