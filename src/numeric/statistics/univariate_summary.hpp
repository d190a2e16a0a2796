// The fifteen statistics from the moments, and the moments packed into STAT between calls.
#pragma once

#include "numeric/statistics/moments.hpp"

namespace qmx::numeric {

struct confidence_levels {
    f32 mean; // percent; 0.0 or less: no limits
    f32 variance;
};

// Fills rows 1 to 14 of a variable's column, with weights also row 15, and posts which statistics
// are not defined; the messages name the variable by the given number.
void summarize(const central_moments& moments, bool weighted, const confidence_levels& levels,
               i32 variable, f32* stat);

// Store running moments in a column of statistics, and read them back.
void store_running(const central_moments& moments, bool weighted, f32* stat);
central_moments load_running(bool weighted, const f32* stat);

} // namespace qmx::numeric
