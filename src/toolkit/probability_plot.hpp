// A text report with a normal probability plot.
#pragma once

#include "base/array_view.hpp"

namespace qmx {

// Writes to an output unit a table of the data in ascending order, their plot against normal order
// statistic medians, and an explanation. Nothing is written to a unit that is not connected.
// Missing values (NaN) are left out of table and plot; org_idx is the position in the data as
// given.
//
// Medians: of uniform order statistics by J. J. Filliben ("The probability plot correlation
// coefficient test for normality", Technometrics 17, 1975), m(n) = 0.5^(1/n), m(1) = 1 - m(n), else
// m(i) = (i - 0.3175) / (n + 0.365); of normal order statistics the normal quantiles of these.
//
// Failures, code 101: "error calling imsl SVRGP"; "IMSL SCTP Error", after the table, where no
// value can be drawn; "memory could not be allocated". Returns 1 or 3.
i32 norm_prob(const array_view<const f32>& x_data, const i32& i_unit);

} // namespace qmx
