// Least squares fit of a polynomial by orthogonal polynomials.
//
//     y(i) = sum over k of c(k) p(k)(t(i)) + e(i),   t = multiplier * (x - center) in [-2, 2]
//
// The degree rises one by one, up to the one asked for, up to the number of distinct abscissas less
// one, or until the fit is perfect within machine precision: until (1 - 10 eps) times the total sum
// of squares about the mean is not above the sum explained.
//
// Accuracy: fits of few observations, and of abscissas that f64 cannot resolve, are computed in
// double-double and are correct to the last digits of f64, however close together the abscissas
// lie. All others are computed in f64 with exact sums: norms and sums of squares are good to a few
// ulps, a coefficient to some 1e-13 of its standard error. Such a fit does not depend on the order
// of the observations; only the double-double fit sorts them. Where abscissas lie so far apart that
// double-double loses digits, the fit is repeated with as many digits as it takes.
//
// Method: G. E. Forsythe, "Generation and use of orthogonal polynomials for data-fitting with a
// digital computer", 1957.
#pragma once

#include "numeric/polynomial/orthogonal_terms.hpp"

namespace qmx::numeric {

// Arithmetic of a fit.
enum class precision { as_needed, refined };

struct orthogonal_fit : fit_outcome {
    i32 observations = 0;  // without a NaN
    i32 missing = 0;       // with one
    value_extent x_extent; // of the observations
    bool is_refined = false;
    f64 center = 0.0; // of the scaled abscissa, with multiplier
    f64 multiplier = 0.0;
    // Coefficients are in units of 2^y_exponent, sums of squares in units of its square, so that
    // neither large nor small ordinates leave the range of f64.
    i32 y_exponent = 0;
    // If not null, room for the coefficients of the powers of x, [reachable_degree + 1]; they are
    // filled by a refined fit. Amplification: see power_basis.hpp.
    f64* powers = nullptr;
    f64 amplification = 0.0; // 0.0: powers are not filled
};

// The largest degree that so many observations permit, at least 0.
inline i32 reachable_degree(i32 observations, i32 degree) {
    return degree < observations ? degree : observations > 0 ? observations - 1 : 0;
}

// Fits a polynomial of degree NDEG to NOBS pairs; a pair with a NaN counts as missing.
//
//   TERMS   [reachable_degree + 1], filled up to the degree reached
//
// Returns false when memory ran out. Errors:
//
//   type  code  meaning
//   5     1     fewer than two pairs; nothing is filled
//   4     3     no pair without a NaN; only the counts are filled
//   4     7     constant abscissas; only the counts are filled
//   3     4     constant ordinates; the degree is 0
//   3     5     too few distinct abscissas; the degree is one less than their number
//   3     6     a perfect fit below NDEG
//   6     11    a perfect fit at NDEG
bool DR2ORP(const i32& NOBS, const column_read_as<f64>& X, const column_read_as<f64>& Y,
            const i32& NDEG, precision wanted, orthogonal_fit& fit, orthogonal_term* TERMS);

// The layers below: DR4ORP drops rows with a NaN, DR3ORP fits the rest.
bool DR4ORP(const i32& NOBS, const column_read_as<f64>& X, const column_read_as<f64>& Y,
            const i32& NDEG, precision wanted, orthogonal_fit& fit, orthogonal_term* TERMS);

bool DR3ORP(const i32& NOBS, const column_read_as<f64>& X, const column_read_as<f64>& Y,
            const value_extent& y_extent, const i32& NDEG, precision wanted, orthogonal_fit& fit,
            orthogonal_term* TERMS);

} // namespace qmx::numeric
