// Points and polygons together: brought into one coordinate system, and selected by the library.
#pragma once

#include <string>
#include <vector>

#include "study/lot/lot_reader.hpp"
#include "study/shapes/polygon_reader.hpp"

namespace qmx_study {

// Throws usage_error when the positions are degrees, which are no planar unit.
void refuse_degrees(const table_source& source, const lot& points);

// Throws usage_error when eastings and northings are in different units. what: that is made of them,
// "an area".
void refuse_mixed_units(const lot& points, const char* what);

// Brings the polygons into the coordinate system of the points where both are known. Returns what
// had to be assumed where one is not, or "". Throws usage_error when the two cannot go together.
std::string align(polygon_set& areas, const lot& points);

// Marks the points that lie in any of the polygons: in its outer outline and in none of its holes.
std::vector<bool> points_inside(const polygon_set& areas, const std::vector<double>& x,
                                const std::vector<double>& y);

} // namespace qmx_study
