// What the module for GDAL does for this room.
#pragma once

#include "study/lot/projection.hpp"

namespace qmx_study {

constexpr const char* projection_calls_name = "qmx_ic_projection_calls";

struct projection_calls {
    decltype(&planar_system) planar;
    decltype(&transform) move;
};

} // namespace qmx_study
