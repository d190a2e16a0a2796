// The plan area against which coverage is measured.
#pragma once

namespace qmx {

struct coverage_state;

// Sums the sizes of the included areas less those of the excluded ones into state.alignment_area.
// Orientation does not matter: a clockwise outline is computed anew from its reversed vertices.
// Overlaps count twice, and the total may end at 0 or below.
// Fails with "current area is negative" where a sliver of nearly collinear vertices stays below 0
// even when reversed, through rounding at large coordinates; the path is then the step's name.
void compute_alignment_areas(coverage_state& state);

} // namespace qmx
