// The compaction curve: mean measure against pass number, with a fitted quadratic. The driver of
// IC_compact_curve_b, which alone calls it.
#pragma once

#include "base/array_view.hpp"
#include "qmx_ic.h"

namespace qmx {

// Takes the mean of each pass, fits a quadratic to the means and evaluates it at 100 abscissas 1 +
// (i - 1) (N - 1) / 100. N is the number of passes before the first one with fewer than 100 points,
// which may be a missing pass number.
//
//   i_maxpassno  highest pass number that the data may hold, 2 or more
//   i_mindata    fewest points there must be
//   i_numdata    points in t_data; 0 or less is none
//   i_numpasses  out: N, written once the data have passed their checks
//   d_passmean   [i_maxpassno] in: zeros; out: mean of each pass up to N, narrowed to f32
//   d_curvex, d_curvey
//                [100] out, on success only. Ordinates are held between the smallest and the
//                largest entry of d_passmean, all i_maxpassno of them: with N below i_maxpassno
//                these include zeros
//   t_fit        out, on success only
//
// Returns 1, or 3 with an event, code 101:
//   "i_maxpassno should be more than 2 for compaction curve analysis"
//   "not sufficient data"
//   "IC data should always contain pass no. 1"
//   "IC data consist of pass no. > max passes"
//   "No sufficient data existed for any pass no."
// or the event of the statistics or of the fit: two passes are too few for a quadratic; a single
// one is no failure, the polynomial is then 0.
i32 qmx_icdata_cmpcurv_B_drv(const i32& i_maxpassno, const i32& i_mindata, const i32& i_numdata,
                             const array_view<const t_icdata>& t_data, i32& i_numpasses,
                             const array_view<f64>& d_passmean, const array_view<f64>& d_curvex,
                             const array_view<f64>& d_curvey, t_fitout& t_fit);

} // namespace qmx
