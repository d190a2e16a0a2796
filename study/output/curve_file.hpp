// The points of a curve, written to a CSV.
#pragma once

#include <array>
#include <string>
#include <vector>

#include "study/analyses/library_call.hpp"

namespace qmx_study {

// Two columns with a head line; numbers with all their digits. `inputs` are the files that were read: none is
// written over. Throws usage_error.
void write_curve(const std::string& output, const std::vector<std::string>& inputs,
                 const std::string& x_name, const std::string& y_name,
                 const std::array<double, curve_points>& x,
                 const std::array<double, curve_points>& y);

} // namespace qmx_study
