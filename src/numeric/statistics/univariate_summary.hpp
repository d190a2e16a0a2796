// The fifteen statistics out of the moments, and how moments are kept in their place between calls.
#pragma once

#include "numeric/statistics/moments.hpp"

namespace qmx::numeric {

struct confidence_levels {
    f32 mean; // percent; 0.0 or less: no limits
    f32 variance;
};

// Fills rows 1 to 14 of a variable's column, with weights also row 15, and posts what is not
// defined for the variable of this number.
void summarize(const central_moments& moments, bool weighted, const confidence_levels& levels,
               i32 variable, f32* stat);

// Keep running moments in a column of statistics, and take them out again.
void store_running(const central_moments& moments, bool weighted, f32* stat);
central_moments load_running(bool weighted, const f32* stat);

} // namespace qmx::numeric
