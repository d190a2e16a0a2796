// Spot tests and the IC data around them: statistics of the IC values near each test, and the
// regression of the IC means on the spot values. The driver of IC_PointsData_stats; circle_matching
// finds the points, measure_statistics and toolkit compute.
#pragma once

#include "base/array_view.hpp"
#include "qmx_ic.h"

namespace qmx {

// in   i_numicdata   IC data in t_icd; i_numtests spot tests in t_tests, t_stats, i_validlist and
//                    d_predict
//      t_tests       i_passno negative: matched with the IC data of all passes, else of that pass
//      d_radius      of the circle around a spot test; its sign has no effect
// out  t_stats       one record for each spot test: the statistics of its IC values. For a test
//                    without IC data i_numdata, x_stat, i_numbins, x_bin and x_freq are 0 and the
//                    rest is left alone. For a test with IC data the whole record is overwritten,
//                    target and percent levels with 0
//      x_regress     [3] intercept, slope and R-squared in percent of the line
//                    IC mean = intercept + slope * d_val of the spot test
//      i_numvalid    number of spot tests with IC data
//      i_validlist   their ONE-based positions, ascending; entries past i_numvalid are left alone
//      d_predict     the line at each of them, in single precision; 0 for the others
//
// Returns 1, or 3 with an event:
//   "point tests data is < 3, not sufficient for regression "        fewer than 3 spot tests
//   "valid point tests data is < 3, not sufficient for regression "  fewer than 3 with IC data
// (after both, statistics, i_numvalid and i_validlist are complete, x_regress and d_predict are 0),
// or the event of the statistics, the regression or an allocation that failed.
i32 qmx_point_stats_drv(const i32& i_numicdata, const i32& i_numtests,
                        const array_view<const t_icdata>& t_icd,
                        const array_view<const t_icdata>& t_tests, const f64& d_radius,
                        const array_view<t_statsout>& t_stats, f32* x_regress, i32* i_numvalid,
                        const array_view<i32>& i_validlist, const array_view<f64>& d_predict);

} // namespace qmx
