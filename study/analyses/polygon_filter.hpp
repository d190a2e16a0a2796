// The filter on the place: points outside polygons are no part of the lot.
#pragma once

#include <string>

#include "study/lot/load.hpp"

namespace qmx_study {

// Leaves out the points that lie in none of the polygons of a file, and those without a position, and
// counts them among the filtered rows. Throws usage_error: no positions, polygons that cannot go together
// with them, no point left.
void keep_points_inside(loaded_lot& lot, const std::string& polygon_file);

} // namespace qmx_study
