// Cross correlation and quantiles of a tabulated distribution, with numerical errors as events.
//
// Return 1, or 3 with an event, code 101, which is "memory could not be allocated" where memory ran
// out.
#pragma once

#include "base/array_view.hpp"

namespace qmx {

// Cross-correlations of two series at lags -i_maxlag to i_maxlag; a positive lag compares a value
// of x_xval with a later one of x_yval.
//
//   x_correlation  [2 i_maxlag + 1] out, lag 0 at position i_maxlag + 1; a shorter view receives
//   the
//                  first of them
//   i_lag          lag of the largest correlation, the first among equals; may be null
//   x_at_lag_0     correlation at lag 0; may be null
//
// Failures before anything is written, in this order: "two time series are in different size",
// "number of obervation is less than 2", "i_maxlag is out of range" (below 1, above the number of
// observations), "x_xval is a zero array", the same for x_yval (no element above 1.1920929E-07 in
// magnitude). Arguments that the correlation itself refuses (i_maxlag equal to the number of
// observations, a missing value, a constant series) are no failure: all outputs are then zero.
i32 imsl_ccf(const array_view<const f32>& x_xval, const array_view<const f32>& x_yval,
             const i32& i_maxlag, const array_view<f32>& x_correlation, i32* i_lag = nullptr,
             f32* x_at_lag_0 = nullptr);

// Quantiles of a tabulated distribution: x_ordinate holds the cumulative probabilities of the
// values x_abscissa, with a smooth curve between them.
//
//   x_probability           probabilities, in the range of the table
//   x_abscissa, x_ordinate  the table, of the same extent, four rows or more
//   x_quantile              out, one for each probability that it has room for; 0 from the first
//                           probability that fails on
//
// Fails with "IMSL GCIN Error" for any error of GCIN, and for columns of different extents.
i32 imsl_GCIN(const array_view<const f32>& x_probability, const array_view<const f32>& x_abscissa,
              const array_view<const f32>& x_ordinate, const array_view<f32>& x_quantile);

} // namespace qmx
