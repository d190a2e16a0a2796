// Compacted area of an alignment by pass bins. The driver of IC_coverage: first_match assigns
// points to bins, alignment_area measures the rings, bin_areas puts both together; run_log writes
// the log of a debugging session.
#pragma once

#include "base/array_view.hpp"
#include "qmx_ic.h"

namespace qmx {

// Checks the areas, sets every result to -99.0 and computes the results. Returns 1, or 3 with an
// event whose path begins with this routine.
i32 icd_coverage_cal(const f32* x_meshsize, const i32& i_num_point, const i32& i_num_bins,
                     const i32& i_num_areas, const array_view<const t_passbin>& bins,
                     const array_view<const t_icdata>& points,
                     const array_view<const t_areaflt>& areas,
                     const array_view<t_binresult>& results);

struct coverage_state;

// The same with the run log on. For debugging sessions; no export calls it.
i32 calculate_coverage_with_log(coverage_state& state);

} // namespace qmx
