// One-way frequency tables.
//
// IOPT  classes                                     class of x
//   0   K equal intervals of width w from the       first i with x - min <= i*w, up to a tolerance of
//       smallest to the largest observation         10 eps w, and x - min > (i-1)*w; else K
//   1   K-2 equal intervals between XLO and XHI,    1 up to XLO, K above XHI, else j+1 with
//       and two open ones                           (j-1)*w < x - XLO <= j*w
//   2   K-1 cut points DIV, strictly ascending      1 up to DIV(1), K above DIV(K-1), else j+1 with
//                                                   DIV(j) < x <= DIV(j+1)
//   3   K class marks DIV, strictly ascending, of   first i with |x - DIV(i)| <= CLHW; an observation
//       half width CLHW                             in no class is not counted
//
// Every comparison is made in f32 as written, so that a value on a limit finds its class by the
// rule; only the one or two classes in question are compared. With IOPT 1 a value whose distance
// from XLO rounds to more than (K-2)*w belongs to class K-1; where XHI - XLO exceeds the largest f32,
// the comparisons are made in f64. Counts are exact integers, rounded to f32 at the end. Infinite
// values are counted like any other.
//
// Errors, all of type 5, leave TABLE and DIV unwritten: 1 NOBS, 2 IOPT, 3 limits, 4 DIV does not
// ascend or holds a NaN, 5 to 7 K, 8 a NaN in X.
#pragma once

#include "base/base_types.hpp"

namespace qmx::numeric {

// Tallies NOBS observations X into K classes and returns the counts in TABLE [K], as reals. With
// IOPT 0 and 1 DIV [K], which may then be null, returns the class marks: the middles of the
// classes, an open class taken as wide as the others. With IOPT 2 it holds K-1 elements, with 3 K.
void OWFRQ(const i32& NOBS, const f32* X, const i32& K, const i32& IOPT, const f32& XLO,
           const f32& XHI, const f32& CLHW, f32* DIV, f32* TABLE);

// Number of NaNs among N elements of SX at a distance of INCX.
i32 ISANAN(const i32& N, const f32* SX, const i32& INCX);

} // namespace qmx::numeric
