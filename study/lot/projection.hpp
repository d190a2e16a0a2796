// From longitude and latitude to a plane, and from one file's coordinate system to another's.
#pragma once

#include <string>
#include <vector>

#include "study/table/spatial_reference.hpp"

namespace qmx_study {

// to: "utm" for the zone of the mean of the positions, which are in degrees then; or anything that
// names a planar system, such as EPSG:26915. Throws usage_error, in a build without GDAL always.
coordinate_system planar_system(const std::string& to, const spatial_reference& from,
                                const std::vector<double>& x, const std::vector<double>& y);

// Moves positions in place. A position that has no place in the target becomes NaN; a NaN stays one.
// Throws usage_error when there is no way from one to the other, in a build without GDAL always.
void transform(const spatial_reference& from, const spatial_reference& to, std::vector<double>& x,
               std::vector<double>& y);

} // namespace qmx_study
