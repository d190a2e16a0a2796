// Coordinate systems: from longitude and latitude to a plane, and from one file's system to another's.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include <ogr_spatialref.h>

namespace qmx_study {

// A coordinate system with easting (longitude) first; null where a file does not name one.
using coordinate_system = std::shared_ptr<const OGRSpatialReference>;

coordinate_system copy_of(const OGRSpatialReference* system);
coordinate_system wgs84();

// to: "utm" for the zone of the mean of the positions, which are in degrees then; or anything that
// names a planar system, such as EPSG:26915. Throws usage_error.
coordinate_system planar_system(const std::string& to, const OGRSpatialReference& from,
                                const std::vector<double>& x, const std::vector<double>& y);

// Moves positions in place. A position that has no place in the target becomes NaN; a NaN stays one.
// Throws usage_error when there is no way from one to the other.
void transform(const OGRSpatialReference& from, const OGRSpatialReference& to,
               std::vector<double>& x, std::vector<double>& y);

std::string length_unit_of(const OGRSpatialReference& system); // "m", "ft", "US survey ft", "deg"

} // namespace qmx_study
