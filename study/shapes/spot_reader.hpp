// Spot tests from a table, brought into the plane of the IC data.
#pragma once

#include <string>
#include <vector>

#include "study/lot/lot_reader.hpp"

namespace qmx_study {

// Positions, values and passes of the tests; a test without a pass number gets -1, all passes. The
// points are those that the tests are to be matched with. Throws usage_error, also when the two tables
// cannot lie in one plane.
lot read_spot_tests(table_source& source, const row_survey& survey, const reading_options& options,
                    const lot& points, progress& shown);

// Names of the tests, from a column such as "Spot" or "Test"; their numbers where there is none.
std::vector<std::string> spot_names(table_source& source, const lot& tests);

} // namespace qmx_study
