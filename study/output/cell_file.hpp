// The cells of a report as a table or a map, with the columns of the file carried through.
#pragma once

#include <string>

#include "study/analyses/report.hpp"
#include "study/base/progress.hpp"

namespace qmx_study {

// Columns x, y, pass, value and verdict ("met", "missed", "not_given"), then those columns of the file that
// were not taken as one of these, as they stand in it. The file is opened again for them and read row by
// row. A GeoPackage gets styles by verdict and value; GeoJSON is in degrees of WGS 84. Throws usage_error:
// an ending that cannot be written, GeoJSON without a known system, points from standard input.
void write_cells(const std::string& output, const lot_report& report, progress& shown);

} // namespace qmx_study
