// Quantiles of the normal, Student t and chi-squared distributions and the incomplete beta ratio.
//
// Accuracy, for every probability whose answer is a normal number, in units in the last place: an f32
// form 0.501, since it is computed in f64 from the argument as given and rounded once; DERFCI and
// DNORIN 4; DTIN and DCHIIN 20. docs/accuracy.md has what was measured. An answer too large for the
// width is an infinity, one too small is 0. The median of the normal and t distributions is exactly 0.
// All processors give the same bits.
//
// Refusals post a terminal error (type 5) and give NaN; a NaN argument is refused like one out of
// range. Codes: 1 probability, 2 degrees of freedom, 5 and 6 of DBETAI below. Terminal errors are
// not seen by IERCD.
//
// Methods. Normal: Halley's method on erf or erfc from the approximation of Hastings (1955). t and
// chi-squared: Newton's method in the logarithms of quantile and tail, from Wilson and Hilferty
// (1931) and Fisher's expansion; the tails by Loader's deviance (2000), in double-double, times a
// series, the continued fractions of Legendre and of DiDonato and Morris (1992), or, for large shapes,
// an integral by Gauss-Legendre. Nothing is allocated.
#pragma once

#include "base/base_types.hpp"

namespace qmx::numeric {

// x with erfc(x) = X, 0 < X < 2.
f32 ERFCI(const f32& X);
f64 DERFCI(const f64& X);

// x with Phi(x) = P, 0 < P < 1: -sqrt(2) times the inverse of erfc at 2 P.
f32 ANORIN(const f32& P);
f64 DNORIN(const f64& P);

// t with P(T <= t) = P, 0 < P < 1, for DF >= 1 degrees of freedom, whole or not.
f32 TIN(const f32& P, const f32& DF);
f64 DTIN(const f64& P, const f64& DF);

// x with P(X <= x) = P, 0 < P < 1, for DF >= 0.5 degrees of freedom, whole or not. A search that
// does not settle in 100 steps posts type 4, code 4 and gives the last estimate; one that leaves
// the range of numbers posts type 5, code 3 and gives NaN.
f32 CHIIN(const f32& P, const f32& DF);
f64 DCHIIN(const f64& P, const f64& DF);

// The incomplete beta ratio I_X(PIN, QIN) = integral from 0 to X of t^(PIN-1) (1-t)^(QIN-1) dt over
// the same from 0 to 1. X in [0, 1] (code 5), PIN and QIN > 0 (code 6). The upper tail of F with d1
// and d2 degrees of freedom is DBETAI(d2/(d2 + d1 F), d2/2, d1/2). Results down to 1e-300 are within
// 40 units in the last place for shapes from 1/2 to 1e7, within 4500 for shapes from 0.001 to 1e8.
f64 DBETAI(const f64& X, const f64& PIN, const f64& QIN);

} // namespace qmx::numeric
