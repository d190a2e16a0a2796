// Whether the positions of a lot lie in a plane, which areas and distances need.
#pragma once

#include "study/lot/lot_reader.hpp"

namespace qmx_study {

// Throws usage_error when the positions are degrees, which are no planar unit.
void refuse_degrees(const table_source& source, const lot& points);

// Throws usage_error when eastings and northings are in different units. what: that is made of them,
// "an area".
void refuse_mixed_units(const lot& points, const char* what);

} // namespace qmx_study
