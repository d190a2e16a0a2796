// Streams of random numbers that a lot is made of.
#pragma once

#include <cstdint>

namespace qmx_study {

// Each use of random numbers has a stream of its own, so that asking for more of one kind leaves
// the others as they were.
enum stream : std::uint64_t {
    lane_starts = 1,
    missed_ends,
    point_noise,
    spot_places,
    spot_errors,
    damaged_rows,
    line_directions,
    line_steps // and the numbers after it, one for each line
};

} // namespace qmx_study
