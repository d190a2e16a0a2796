// The mean of f32 values by an exact sum.
#pragma once

#include "base/base_types.hpp"

namespace qmx::numeric {

// Extremes and number of the values that are not NaN; both extremes are NaN when there is none.
struct value_range {
    i64 count = 0;
    f32 lowest = std::numeric_limits<f32>::quiet_NaN();
    f32 highest = std::numeric_limits<f32>::quiet_NaN();
};

value_range range_of(const f32* x, i64 n);

// A mean to 106 bits: head holds the leading 53 bits of its magnitude, tail those that follow, both
// cut off, not rounded. to_odd is the head with its last bit set if anything follows: narrowed to
// f32 it gives the correctly rounded mean, since rounding to odd and then to nearest never rounds
// twice (S. Boldo and G. Melquiond, "Emulation of FMA and correctly rounded sums: proved algorithms
// using rounding to odd", 2008).
struct exact_mean {
    f64 head = 0.0;
    f64 tail = 0.0;
    f64 to_odd = 0.0;
};

// Mean of the values that are not NaN. range must be theirs, with at least one value, at most
// 2^31 - 1, and finite extremes. The sum is kept exactly, so that neither the order of the values
// nor cancellation matters.
exact_mean mean_of(const f32* x, i64 n, const value_range& range);

} // namespace qmx::numeric
