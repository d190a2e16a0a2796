// Values that the library can compute with.
#pragma once

#include "study/lot/lot_reader.hpp"

namespace qmx_study {

// The library computes with 32-bit values; beyond their range there is nothing to compute with. Throws
// usage_error, naming the first such row.
void refuse_values_too_large(const table_source& source, const lot& points);

} // namespace qmx_study
