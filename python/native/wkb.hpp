// Geometries as other programs hand them over in memory.
#pragma once

#include <string_view>

#include "study/table/shape.hpp"

namespace qmx_python {

// Well-known binary, with heights and measures left out. False where the bytes are none.
bool read_wkb(std::string_view bytes, qmx_study::shape& into);

} // namespace qmx_python
