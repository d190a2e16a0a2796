// Linear interpolation in a table of ascending abscissas. The statistics read percent levels and
// targets with it.
#pragma once

#include "base/array_view.hpp"

namespace qmx {

// For each query abscissa xq(j) the ordinate yq(j) on the broken line through (x(i), y(i)).
//
//   y, x       table of n >= 2 points, x ascending; the order is not checked
//   xq, yq     queries and results, of one extent
//   i_outside  optional flag: 1 gives 0 to a query outside the table, otherwise it takes the
//              ordinate of the nearest end. A NaN query lies below the table
//
// A query within 100 machine epsilons of a table point takes that point's ordinate. Returns 1, or 3
// with an event, yq then being zeros: "x_y size is not correct", "x_x size is not correct"
// (d_y and d_x in the f64 version), for a table of fewer than two points; its path begins with this
// routine.
i32 linr_intpol(const array_view<const f64>& d_y, const array_view<const f64>& d_x,
                const array_view<const f64>& d_xq, const array_view<f64>& d_yq,
                const i32* i_outside = nullptr);
i32 linr_intpol_s(const array_view<const f32>& x_y, const array_view<const f32>& x_x,
                  const array_view<const f32>& x_xq, const array_view<f32>& x_yq,
                  const i32* i_outside = nullptr);

} // namespace qmx
