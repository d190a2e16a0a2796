// Driver of ICdata_stats.
#pragma once

#include "base/array_view.hpp"
#include "qmx_ic.h"

namespace qmx {

// Zeroes i_numdata, x_stat, i_numbins, x_bin and x_freq of t_out and lets qmx_stats fill the record
// from the d_val of the points. Returns 1 or 3.
i32 qmx_icdata_stats_drv(const i32& i_flag_pass, const i32& i_flag_below, const i32& i_numdata,
                         const array_view<const t_icdata>& t_data, t_statsout& t_out);

} // namespace qmx
