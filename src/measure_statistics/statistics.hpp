// Statistics, histogram and target test of one array of values, a continuous measure or pass
// counts. Called by the driver of ICdata_stats, for each spot test, and for the last pass of a
// compaction curve.
#pragma once

#include "base/array_view.hpp"
#include "qmx_ic.h"

namespace qmx {

// Fills t_out from the values d_val, narrowed to f32. Every later step stays in f32, since that
// rounding decides results near a class limit. i_flag_pass 1: the values are pass counts;
// i_flag_below 1: the target test counts the values at or below the target. Returns 1, or 3 with an
// event:
//   "High pass counts causing histogram intervals exceeding the maximum 200"
//   "x_y size is not correct" (from the interpolation, for pass counts below 1)
//   "memory could not be allocated"
// Fewer than two values are no failure: x_stat then receives the statistics of the previous call of
// any of the three exports that compute statistics. A histogram that cannot be tallied (a NaN among
// the values) is all zeros.
i32 qmx_stats(const i32& i_flag_pass, const i32& i_flag_below, const i32& i_numdata,
              const array_view<const f64>& d_val, t_statsout& t_out);

// Computes the fifteen statistics alone and keeps them for the next call, as qmx_stats does.
// Returns 1, or 3 with the event "memory could not be allocated".
i32 keep_statistics(const array_view<const f32>& values);

} // namespace qmx
