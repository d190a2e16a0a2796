// Areas and coverage by pass bin.
#pragma once

namespace qmx {

struct coverage_state;

// Counts each point in the first bin that holds its pass count (d_val truncated toward zero) and
// writes every bin's results: compacted area = count * mesh area, plan area = the alignment area,
// coverage = compacted / plan * 100. An alignment area of 0 gives what the division gives. Points
// that no bin holds are dropped. Fails only where memory runs out.
void compute_areas_for_bins(coverage_state& state);

} // namespace qmx
