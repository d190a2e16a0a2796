// The experimental semivariogram of scattered points in the plane.
#pragma once

#include "base/array_view.hpp"
#include "base/limits.hpp"
#include "qmx_ic.h"
#include "semivariogram/search/gamv_variables.hpp"

namespace qmx {

// Columns of the result table, most_lag_classes rows each; row k is lag class k.
enum class result_column { distance = 1, semivariance = 2, pair_count = 3 };
inline constexpr i64 result_columns = 7;

inline i64 result_index(result_column column, i64 lag_class) {
    return (static_cast<i64>(column) - 1) * most_lag_classes + lag_class;
}

// For each of the nlag + 2 lag classes: mean distance, semivariance (half the mean squared
// difference, over the variance of the data if isill is 1 and the variance positive) and number of
// pairs. An omnidirectional search counts each pair twice. A class without pairs keeps 0. Class 1
// holds coincident points, each point with itself among them; class k is centred on xlag * (k - 2).
//
//   set            nlag + 2 is at most most_lag_classes
//   number_of_data 0 or less means none
//   data           position and value of each record; both are narrowed to 32 bits
//   i_classes      becomes nlag + 2
//   result         [7 * most_lag_classes], column by column; columns 4 to 7 are 0
//
// Pair arithmetic is f32, sums and means f64. The result is that of a plain loop over all pairs, bit for
// bit and on every processor; it depends on the order of the data where points coincide.
// Failures: those of readparm, and memory.
void gslib_gamv(const t_gamvset& set, const i32& number_of_data,
                const array_view<const t_icdata>& data, i32& i_classes,
                const array_view<f64>& result);

} // namespace qmx
