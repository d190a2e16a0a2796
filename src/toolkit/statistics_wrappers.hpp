// Univariate statistics and frequency tables, with numerical errors as events. For
// measure_statistics.
//
// Each wrapper calls one numerical routine without console output. Return 1, or 3 with an event,
// code 101, which is "memory could not be allocated" where memory ran out.
#pragma once

#include "base/array_view.hpp"

namespace qmx {

// The fifteen univariate statistics of x, in the order of t_statsout::x_stat, or as many as x_stat
// has elements. Errors of the numerical routine are ignored: an undefined statistic is NaN. Fails
// with "the data array is too small. Could be bad data." for fewer than two values.
i32 imsl_uvsta(const array_view<const f32>& x, const array_view<f32>& x_stat);

// Percentage of n in each of k classes cut at DIV(1..k-1): class 1 up to DIV(1), class k above
// DIV(k-1), a value on a limit in the class below it. Computed in f32: (count / n) * 100. All 0
// where the tally is refused: a NaN in x, limits that do not ascend, no class.
i32 imsl_owfrq(const i32& n, const array_view<const f32>& x, const i32& k,
               const array_view<const f32>& DIV, const array_view<f32>& x_percent);

// Exchanges element i with element n + 1 - i. Always returns 1.
i32 reverse_arr_d(const array_view<f64>& d_x);
i32 reverse_arr_s(const array_view<f32>& x_x);

} // namespace qmx
