// The guarded layer between the analyses and the numerical routines of statistics.
//
// Each wrapper silences the numerical routines, calls one, and turns an error that the caller is
// meant to see into an event with code 101. Returns are 1, or 3 with an event. Memory that runs out
// below becomes the event "memory could not be allocated".
#pragma once

#include "base/array_view.hpp"

namespace qmx {

// The fifteen univariate statistics of x, in the order of t_statsout::x_stat; as many as x_stat has
// elements. Errors of the numerical routine are not looked at: a statistic that is not defined is
// NaN. Fails with "the data array is too small. Could be bad data." for fewer than two values.
i32 imsl_uvsta(const array_view<const f32>& x, const array_view<f32>& x_stat);

// Percentage of n in each of k classes cut at DIV(1..k-1): class 1 up to DIV(1), class k above
// DIV(k-1), a value on a limit in the class below it. A tally that is refused (a NaN in x, limits
// that do not ascend, no class) counts 0 everywhere. Computed in f32: (count / n) * 100.
i32 imsl_owfrq(const i32& n, const array_view<const f32>& x, const i32& k,
               const array_view<const f32>& DIV, const array_view<f32>& x_percent);

// Exchanges element i with element n + 1 - i. Always returns 1.
i32 reverse_arr_d(const array_view<f64>& d_x);
i32 reverse_arr_s(const array_view<f32>& x_x);

} // namespace qmx
