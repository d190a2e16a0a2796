// The maps of a page: pictures, legends and the values under the pointer.
#pragma once

#include <cstdint>

#include "study/analyses/report.hpp"
#include "study/document/json.hpp"

namespace qmx_report {

struct map_limits {
    std::int64_t strip_pixels = 1500000;
    std::int64_t plan_pixels = 600000;
};

// {"strip": {frame, pictures}, "plan": {frame, pictures}, "layers": legends, "grid": values}; null
// without cells. Without a road there is no strip, and the grid is that of the plan.
qmx_study::json maps_of(const qmx_study::json& document, const qmx_study::cell_table& cells,
                        const map_limits& limits);

} // namespace qmx_report
