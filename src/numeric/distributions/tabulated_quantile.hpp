// Quantiles of a distribution that is known by a table.
//
//   IOPT  X, abscissas, ascending      F, ordinates, not falling     between the rows
//   1     values                       cumulative probabilities      straight lines
//   2     cumulative probabilities     values                        straight lines
//   3     values                       cumulative probabilities      a smooth curve
//   4     cumulative probabilities     values                        a smooth curve
//
// Options 1 and 3 invert the distribution function that the table gives, 2 and 4 read the quantile
// function that it gives. Straight lines are the same either way round; curves are not.
//
//   P     probability, between the least and the greatest of the table
//   X, F  [M] table; M >= 2 for straight lines, M >= 4 for curves
//
// Where the distribution function is level at P, the quantile is the least of its values; a node of
// the table is met exactly. The result is NaN after an error, all of type 5: 1 too few rows for
// lines, 2 too few rows for a curve, 3 memory, 4 IOPT, 5 X does not ascend, 6 F falls, 7 a
// probability of the table outside 0 to 1, 8 P outside the table, 9 an infinity in the table. A NaN
// is refused like a number out of order.
//
// The curve is a piecewise cubic with the slopes of the cubic spline that is smooth up to the third
// derivative at the second and the last but one row (C. de Boor, "A Practical Guide to Splines",
// 1978), each slope then brought into the range in which a cubic does not overshoot its rows:
// between 0 and three times the smaller difference quotient beside it (F. N. Fritsch and R. E.
// Carlson, "Monotone piecewise cubic interpolation", 1980; J. M. Hyman, "Accurate monotonicity
// preserving cubic interpolation", 1983). So it rises where the table rises, is level where the
// table is, and where no slope had to be moved its error falls with the fourth power of the
// distance of the rows; a cubic is met exactly.
//
// Accuracy: computed in f64 and rounded once. Cost: each call goes through the table.
#pragma once

#include "base/base_types.hpp"

namespace qmx::numeric {

f32 GCIN(const f32& P, const f32* X, const f32* F, const i32& M, const i32& IOPT);

inline constexpr i32 tabulated_quantile_storage_code = 3; // type 5

} // namespace qmx::numeric
