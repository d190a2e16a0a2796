// Statistics, histogram and target test of one array of values.
#pragma once

#include "base/array_view.hpp"
#include "qmx_ic.h"

namespace qmx {

// Fills t_out from the values d_val, narrowed to f32; every later step stays f32, since results
// near a class limit depend on that rounding. i_flag_pass 1 takes the values as pass counts;
// i_flag_below 1 lets the target count values at or below it. Returns 1, or 3 with an event:
//   "High pass counts causing histogram intervals exceeding the maximum 200"
//   "x_y size is not correct" (from the interpolation, for pass counts below 1)
//   "memory could not be allocated"
// Statistics that cannot be computed (fewer than two values) are forgiven and leave x_stat with
// what the work vector held from the previous call; a histogram that cannot be tallied holds zeros.
i32 qmx_stats(const i32& i_flag_pass, const i32& i_flag_below, const i32& i_numdata,
              const array_view<const f64>& d_val, t_statsout& t_out);

// Computes the fifteen statistics alone and leaves them in the work vector, as qmx_stats does for the
// same values. Returns 1, or 3 with the event "memory could not be allocated" of qmx_stats.
i32 keep_statistics(const array_view<const f32>& values);

} // namespace qmx
