// The driver of ICdata_stats. The statistics themselves, which compaction and spot tests use as
// well, are in statistics.hpp.
#pragma once

#include "base/array_view.hpp"
#include "qmx_ic.h"

namespace qmx {

// Zeroes i_numdata, x_stat, i_numbins, x_bin and x_freq of t_out, then calls qmx_stats on the d_val
// of the points. Returns 1 or 3.
i32 qmx_icdata_stats_drv(const i32& i_flag_pass, const i32& i_flag_below, const i32& i_numdata,
                         const array_view<const t_icdata>& t_data, t_statsout& t_out);

} // namespace qmx
