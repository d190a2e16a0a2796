// The plan area against which coverage is measured.
#pragma once

namespace qmx {

struct coverage_state;

// Sums the included areas and subtracts the excluded ones, into state.alignment_area. Orientation
// does not matter: a clockwise ring is reversed and computed again. Overlaps count twice, and the
// total may be 0 or negative. Fails with "current area is negative" where rounding at large
// coordinates leaves the area of a sliver of nearly collinear vertices negative in either order.
void compute_alignment_areas(coverage_state& state);

} // namespace qmx
