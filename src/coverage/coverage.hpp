// Driver of IC_coverage.
#pragma once

#include "base/array_view.hpp"
#include "qmx_ic.h"

namespace qmx {

// Checks the areas, marks every result with -99.0, and fills the results. Returns 1, or 3 with an
// event; the path then starts anew with this routine.
i32 icd_coverage_cal(const f32* x_meshsize, const i32& i_num_point, const i32& i_num_bins,
                     const i32& i_num_areas, const array_view<const t_passbin>& bins,
                     const array_view<const t_icdata>& points,
                     const array_view<const t_areaflt>& areas,
                     const array_view<t_binresult>& results);

struct coverage_state;

// The same with the run log on, for a debugging session. The exported road never comes here.
i32 calculate_coverage_with_log(coverage_state& state);

} // namespace qmx
