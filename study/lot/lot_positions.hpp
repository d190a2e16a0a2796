// What the positions of a lot that was read are: their coordinate system, named or seen, the plane
// that they are brought to, and those that stand far from all others.
#pragma once

#include "study/lot/field_reader.hpp"
#include "study/lot/lot_reader.hpp"

namespace qmx_study {

// Throws usage_error. A row whose position has no place in the plane is dropped where needs say so.
void settle_positions(lot& points, const table_source& source, const reading_options& options,
                      const reading_needs& needs, drop_counter& drops);

} // namespace qmx_study
