// Polynomial curves through data: the fit, and its evaluation on a grid. For call_polycurvefit, the
// compaction curve and the polynomial model of a semivariogram.
#pragma once

#include "base/array_view.hpp"

namespace qmx {

inline constexpr i32 highest_degree = 9;
inline constexpr i32 fit_statistics = 10;

struct fitted_polynomial {
    i32 degree = 0;                           // negative: no term at all
    f64 coefficient[highest_degree + 1] = {}; // constant term first
    f64 statistics[fit_statistics] = {};      // STAT of DRCURV
    bool is_written = false; // a fit was attempted: the two arrays hold its results
};

// Fits a polynomial of the given degree, or without one of a degree chosen by the number of points:
// n - 2 but at least 1 for up to ten points, 8 for more. Too few points for any fit, or a negative
// degree, are no failure: the coefficients are then 0.
//
// Returns 1, or 3 with an event of "polycurvfit":
//   101  "cannot do curve with one point"     one point and no degree given
//   102  "degrees of polynomial exceeds 9"
//   102  "x or y data contains NaN"           in some pair, but not in all
//   101  "error calling imsl drcurv"          constant abscissas or ordinates, too few distinct
//                                             abscissas for the degree, a perfect fit of a lower
//                                             degree, a NaN in every pair
//   101  "memory could not be allocated"
// The first three leave the routine path as it is and add "/polycurvfit"; after the fourth the name
// stands twice in it, "polycurvfit/polycurvfit".
i32 fit_polynomial(const array_view<const f64>& x, const array_view<const f64>& y,
                   const i32* i_degree, fitted_polynomial& fitted);

// Ordinates of the polynomial, each power rounded once, summed from the constant term up; raised to
// the lower bound, then lowered to the upper one; a null pointer is no bound. A NaN stays a NaN.
void evaluate_polynomial(const fitted_polynomial& fitted, const array_view<const f64>& x,
                         const array_view<f64>& y, const f64* lower, const f64* upper);

// Fits a polynomial to n points and evaluates it at m evenly spaced abscissas from the smallest of
// the data to the largest; m is the extent of x_xcurve. With m = 1 there is no spacing: NaN.
//
//   x_ylower, x_yupper  clamps of the ordinates; may be null
//   i_degree            degree; null lets the routine choose
//   x_coef              [degree + 1] coefficients, constant term first; may be null
//   x_stat              [10] statistics of the fit; may be null
//
// Returns and failures are those of fit_polynomial. After a failure x_xcurve is as it was and
// x_ycurve is 0; x_coef and x_stat hold the fit, unless there was none or its degree exceeds 9.
i32 polycurvfit(const array_view<const f64>& x_xdata, const array_view<const f64>& x_ydata,
                const array_view<f64>& x_xcurve, const array_view<f64>& x_ycurve,
                const f64* x_ylower = nullptr, const f64* x_yupper = nullptr,
                const i32* i_degree = nullptr, const array_view<f64>* x_coef = nullptr,
                const array_view<f64>* x_stat = nullptr);

// The same with data held in f32, which are read as f64.
i32 polycurvfit(const array_view<const f32>& x_xdata, const array_view<const f32>& x_ydata,
                const array_view<f64>& x_xcurve, const array_view<f64>& x_ycurve,
                const f64* x_ylower = nullptr, const f64* x_yupper = nullptr,
                const i32* i_degree = nullptr, const array_view<f64>* x_coef = nullptr,
                const array_view<f64>* x_stat = nullptr);

} // namespace qmx
