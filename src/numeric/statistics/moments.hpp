// Central moments of f32 values, of one block of rows and of several put together.
#pragma once

#include "base/base_types.hpp"

namespace qmx::numeric {

// Moments of a set of observations. second to fourth are sums, not divided by n:
// second = sum of w (x - mean)^2, and so on.
struct central_moments {
    f64 count = 0.0;  // sum of the frequencies
    f64 weight = 0.0; // sum of frequency times weight
    f64 mean = 0.0;
    f64 second = 0.0;
    f64 third = 0.0;
    f64 fourth = 0.0;
    f32 lowest = std::numeric_limits<f32>::quiet_NaN();
    f32 highest = std::numeric_limits<f32>::quiet_NaN();
};

// Moments of the values that are not NaN, each with frequency and weight 1; n below 2^31.
//
// Independent of the order of the values, to the last bit. The mean is the exact one, rounded to
// odd in f64, so that narrowing it rounds correctly. The powers are those of deviations in f64 from
// the leading 53 bits of the mean, summed in fixed point and shifted to the exact mean; relative
// errors are below 2^-35 for the second and 2^-27 for the fourth, the third's is below 2^-27 of the
// larger of itself and n s^3, s^2 = second / n. With an infinite value the mean is what the sum
// gives and the powers are NaN.
central_moments moments_of(const f32* x, i64 n);

// The same with frequencies and weights, each of which may be null for all ones. Rows that
// C1WFR does not count are skipped. In f64 with compensated sums, in the order of rows.
central_moments weighted_moments_of(const f32* x, const f32* frequency, const f32* weight, i64 n);

// Adds the observations of one set to another. Method: P. Pebay, "Formulas for robust, one-pass
// parallel computation of covariances and arbitrary-order statistical moments", 2008.
void merge(central_moments& into, const central_moments& from);

// Removes the observations of one set from another. The extremes are left as they are.
void remove(central_moments& from, const central_moments& what);

// How a row takes part, by its frequency and weight.
enum class row_use { counts, ruled_out, refused, missing };

// A row counts if both are above zero. With a zero it is ruled out, with a negative value refused,
// with a NaN it has a missing value.
row_use C1WFR(const f32& FREQUENCY, const f32& WEIGHT);

} // namespace qmx::numeric
