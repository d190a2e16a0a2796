// Points and polygons together: brought into one coordinate system, and selected by the library.
#pragma once

#include <string>
#include <vector>

#include "study/lot/lot_reader.hpp"
#include "study/lot/plane.hpp"
#include "study/shapes/polygon_reader.hpp"

namespace qmx_study {

struct positions {
    std::vector<double> x, y;
};
positions positions_of(const lot& points);

// Brings the polygons into the coordinate system of the points where both are known. Returns what
// had to be assumed where one is not, or "". Throws usage_error when the two cannot go together.
std::string align(polygon_set& areas, const lot& points);

// Marks the points that lie in any of the polygons: in its outer outline and in none of its holes.
std::vector<bool> points_inside(const polygon_set& areas, const std::vector<double>& x,
                                const std::vector<double>& y);

} // namespace qmx_study
