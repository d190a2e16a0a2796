// For the files that call GDAL: what stands behind a spatial_reference.
#pragma once

#include <ogr_spatialref.h>

#include "study/table/spatial_reference.hpp"

namespace qmx_study {

struct spatial_reference::description {
    OGRSpatialReference system;
};

// Keeps what GDAL has to say for our own messages. Called before all else.
void prepare_gdal();
// The same, and registers the formats, which takes its time: coordinate systems need none.
void prepare_formats();

// A copy with easting (longitude) first; null for null.
coordinate_system copy_of(const OGRSpatialReference* system);

} // namespace qmx_study
