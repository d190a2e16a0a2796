// The points of a curve, written to a table.
#pragma once

#include <array>
#include <string>
#include <vector>

#include "study/analyses/library_call.hpp"

namespace qmx_study {

// Two columns, numbers with all their digits. Throws usage_error.
void write_curve(const std::string& output, const std::string& x_name, const std::string& y_name,
                 const std::array<double, curve_points>& x,
                 const std::array<double, curve_points>& y);

} // namespace qmx_study
