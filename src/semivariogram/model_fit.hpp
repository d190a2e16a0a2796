// Fits a model to the experimental semivariogram and reads range, sill and nugget off its curve.
#pragma once

#include "base/array_view.hpp"

namespace qmx {

inline constexpr i64 model_curve_points = 100;

// Fits model idx_model to i_npoints pairs of distance and semivariance, all in f32 and with equal
// weight, and evaluates it.
//
//   1  exponential  g(h) = X(2) (1 - exp(-3 h / X(1)))   X(1) practical range, X(2) sill
//   2  power        g(h) = X(1) h^X(2)
//   3  polynomial of degree 2, by polycurvfit
//
// Models 1 and 2 are least squares by BCNLS with 1 <= X(1), 0.05 <= X(2) and both at most G, the greatest
// semivariance, in whatever unit. If G is below 1, X(1) is G, whatever the data's range; X(2) is fitted,
// between 0.05 and G, and is G too if G is at most 0.05.
//
//   s_coef        [2] X; the first two coefficients of model 3
//   s_xcurve      [100] abscissas k * step + least distance, k = 0 .. 99, where step is a hundredth
//                 of the range of the distances: the grid ends one step short of the greatest
//   s_ycurve_out  [100] the model there. The curve of model 3 is that of polycurvfit, whose own
//                 grid reaches the greatest distance
//
// Returns 1, or 3 with an event, code 101, and outputs as they were:
//   "error calling imsl BCNLS with the exponential function"   the fit ended with a warning, or all
//   "error calling imsl BCNLS with the power function"         semivariances are 0 (model 1)
//   "idx_model is not defined correctly"
//   "i_npoints exceeds the maximum 100"
//   "memory could not be allocated"
// A failure of polycurvfit shows in the event state only.
i32 modelfit_all(const i32& idx_model, const i32& i_npoints, const array_view<const f32>& s_xdata,
                 const array_view<const f32>& s_ydata, f32* s_coef, const array_view<f32>& s_xcurve,
                 const array_view<f32>& s_ycurve_out);

// modelfit_all, and then s_fitsummary [4]: range, sill, sill less nugget, nugget. Range and sill are
// the abscissa and ordinate of the first of the points 1 to 98 from which the curve, both axes scaled
// to the unit interval, rises by less than 5 degrees to the next, or else of point 99; the nugget is
// the ordinate of point 1. They are readings of the curve, not the parameters X.
i32 semivariogram_modlefit(const i32& idx_model, const i32& i_npoints,
                           const array_view<const f32>& s_xdata,
                           const array_view<const f32>& s_ydata, f32* s_coef,
                           const array_view<f32>& s_xcurve, const array_view<f32>& s_ycurve_out,
                           f32* s_fitsummary);

} // namespace qmx
