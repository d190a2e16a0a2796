// The terms of a polynomial fit, and its two arithmetics: f64 with exact sums, and double-double.
//
// The polynomials are monic in the scaled abscissa t and follow from a three-term recurrence:
//     p(0) = 1,   p(k+1) = (t - term[k].shift) p(k) - term[k].ratio p(k-1).
#pragma once

#include "base/base_types.hpp"
#include "base/double_double.hpp"
#include "numeric/polynomial/column_read_as.hpp"

namespace qmx::numeric {

// The term of p(k).
struct orthogonal_term {
    double_double shift;       // of the step to p(k+1)
    double_double ratio;       // of the squared norms of p(k) and p(k-1); 0 for k = 0
    double_double norm;        // squared
    double_double coefficient; // of the fit
    double_double explained;   // sum of squares
};

// Observations and their scales: t = multiplier * (x - center) lies in [-2, 2]. The ordinates are
// multiplied by a power of two that brings them below 1, less an origin in the middle of their
// range.
struct scaled_rows {
    column_read_as<f64> x;
    column_read_as<f64> y;
    i32 count = 0;
    f64 center = 0.0;
    f64 multiplier = 0.0;
    f64 y_factor = 1.0;
    f64 y_origin = 0.0;
    f64 y_reach = 0.0; // greatest distance of a scaled ordinate from the origin
};

// The degree that a fit reached, and its sums of squares.
struct fit_outcome {
    i32 degree = 0;
    bool is_perfect = false;
    double_double total; // sum of squares about the mean
    double_double error; // residual sum of squares
};

// The explained sum of squares reaches the total within 10 machine epsilons.
inline bool is_perfect_fit(const double_double& total, const double_double& explained) {
    constexpr f64 share = 1.0 - 10.0 * std::numeric_limits<f64>::epsilon();
    return !(share * total.high > explained.high);
}

// ---- In f64 ------------------------------------------------------------------------------------

inline constexpr i32 highest_moment_degree = 12;

// Fits all degrees up to the given one (at most highest_moment_degree, and less than the number of
// distinct abscissas) in two sweeps over the observations, whose order has no influence: every sum
// is exact once its terms are rounded to 2^-51 of their greatest magnitude.
//
// The first sweep sums the moments of the Chebyshev polynomials, which give the recurrence and a
// first set of coefficients; the second corrects these by the residuals. Needs finite observations.
// Returns false where f64 would lose digits: where most abscissas lie close together, relative to
// their range.
//
// Method for the recurrence: J. C. Wheeler, "Modified moments and Gaussian quadratures", 1974.
bool fit_by_moments(const scaled_rows& rows, i32 degree, fit_outcome& outcome,
                    orthogonal_term* terms);

// ---- In double-double ---------------------------------------------------------------------------

// Raises the degree up to the given one, which must be less than the number of distinct abscissas,
// or until the fit is perfect. The scaled abscissas are not rounded to f64. Sums are taken
// in the order of the rows. Returns false when memory ran out.
bool fit_in_pairs(const scaled_rows& rows, i32 degree, fit_outcome& outcome,
                  orthogonal_term* terms);
inline constexpr i32 bits_of_pairs = 102; // that rounding leaves at worst

// ---- In more digits ----------------------------------------------------------------------------

// Estimates how many times the arithmetic's rounding error the terms of a fit are off, relative to the
// norms of the polynomials: by how much rounding errors grow in the recurrence. Abscissas far from the
// others let the norms fall steeply, and the errors grow with each term.
f64 loss_of_digits(i32 degree, const orthogonal_term* terms);

// Whether such a loss, amplified by the expansion into powers, may show in f64.
bool shows_loss(f64 loss, f64 amplification, i32 bits);

// As fit_in_pairs, with as many digits as the loss asks for, in time that permits: 256 bits at first,
// then twice as many, up to 16384. Fills powers, [degree + 1], with the coefficients of the powers of
// x. Needs finite observations, in any order. Returns false when memory ran out.
bool fit_in_extended_reals(const scaled_rows& rows, i32 degree, fit_outcome& outcome,
                           orthogonal_term* terms, f64* powers);

} // namespace qmx::numeric
