// Areas and coverage by pass bin.
#pragma once

namespace qmx {

struct coverage_state;

// Counts each point in the first bin that holds its pass count (d_val truncated toward zero) and
// writes the results of every bin: compacted area = count * mesh area, plan area = the alignment
// area, coverage = compacted / plan * 100, whatever that division gives for an alignment area of 0.
// Points outside all bins are dropped. Fails only when memory runs out.
void compute_areas_for_bins(coverage_state& state);

} // namespace qmx
