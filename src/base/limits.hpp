// Limits that several analyses share.
#pragma once

#include "base/base_types.hpp"

namespace qmx {

inline constexpr i32 histogram_entries = 200; // in each array of a t_statsout
inline constexpr i32 continuous_classes = 20; // of a continuous measure, with 21 limits
inline constexpr i32 minimum_data_points = 3; // of a statistics call
inline constexpr i32 curve_points = 100;      // of every curve handed to a host
inline constexpr i32 most_lag_classes = 100;  // of a semivariogram
inline constexpr i32 statistics_rows = 15;    // of the univariate statistics
// Class width up to which data count as constant: the f32 machine epsilon.
inline constexpr f32 constant_class_width = std::numeric_limits<f32>::epsilon();

} // namespace qmx
