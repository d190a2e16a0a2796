// How programs for maps draw the cells at once: by verdict, or by classes of the value.
#pragma once

#include <string>
#include <vector>

#include "study/analyses/report.hpp"
#include "study/output/table_writer.hpp"

namespace qmx_study {

// The texts of the column "verdict".
const char* verdict_text(std::uint8_t verdict); // "met", "missed", "not_given"

// Two styles, by the columns "verdict" and "value". The first is the default where any cell has a verdict,
// otherwise the second. cell_size: side of a cell in metres on the ground; 0 draws points of 2 mm.
std::vector<layer_style> cell_styles(const cell_table& cells, const std::string& value_name,
                                     const std::string& value_unit, double cell_size);

// Limits between at most five classes that hold about as many values each; ascending, without those that
// are equal. Values that are NaN take no part.
std::vector<double> class_limits(const std::vector<double>& values);

} // namespace qmx_study
