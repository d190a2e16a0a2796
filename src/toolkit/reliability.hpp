// Adjustment of two means for a reliability, and the maturity curve of a hardening material. No
// export calls these.
#pragma once

#include "base/array_view.hpp"

namespace qmx {

// Moves two means with coefficients of variation c1 and c2 towards each other for a reliability in
// percent: above 50, out1 is m1 raised and out2 is m2 lowered, neither below 0.
//
//   s1 = c1 m1, s2 = c2 m2, z = normal quantile of reliability / 100, A = s1^2 + 1
//   w = z sqrt(s2^2 + A) / (sqrt(A) + sqrt(s2^2 + 1))
//   out1 = max(0, m1 + |s1| w), out2 = max(0, m2 - |s2| w)
//
// A reliability that is not above 0 and below 100 makes both results NaN, without a failure. Fails
// with "error calling imsl ANORIN - check in file 0relia_adj.txt", code 101, if the normal quantile
// reports an error that is not terminal. Returns 1 or 3.
i32 relia_adj(const f64& reliability, const f64& m1, const f64& m2, const f64& c1, const f64& c2,
              f64& out1, f64& out2);

// Fits y = a exp(-(b / x)^c) to pairs of maturity x and property y, by bounded nonlinear least
// squares. a is the final property, b the maturity at which a / e is reached, c the steepness.
//
//   d_x  maturities, 0 or more; the curve is 0 at 0
//   d_y  properties, as many; three pairs with y > 0 at different x > 0 or more
//
// Bounds: with h the largest y, a from h / 1000 to 1000 h, b from a thousandth of the least
// positive x to 1000 times the largest, c from 0.01 to 20. Start: the curve with the least sum of
// squares among the flat one at the mean of the y, for a material that has hardened already, and
// those for a of 1.01, 1.1, 1.25, 1.5, 2, 3, 5 and 10 times h: ln(-ln(y / a)) is a straight line
// over ln x, which gives b and c by linear regression over 0 < y < a. Properties that fall give the
// flat curve: no curve of this kind falls.
//
// Fails with "error in fitting maturity data - check and throw out outliers", code 101, for too few
// pairs, negative maturities, values that are not finite, and where the fit finds no solution; a, b
// and c are then unchanged. Or with "memory could not be allocated". Returns 1 or 3.
i32 maturfit(const array_view<const f64>& d_x, const array_view<const f64>& d_y, f64& a, f64& b,
             f64& c);

// Residuals F [M] and their derivatives FJAC [LDFJAC by 3], column-major, at X = (a, b, c), for the
// data of the last fit, which must still exist.
void camfunc(const i32& M, const i32& N, const f64* X, f64* F);
void camjacob(const i32& M, const i32& N, const f64* X, f64* FJAC, const i32& LDFJAC);

} // namespace qmx
