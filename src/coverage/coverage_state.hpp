// Inputs, outputs and the running total that the coverage routines share during one call.
#pragma once

#include "base/array_view.hpp"
#include "base/padded_text.hpp"
#include "coverage/run_log.hpp"
#include "qmx_ic.h"

namespace qmx {

struct coverage_state {
    const f32* x_meshsize; // [2]; their product is the area that one point stands for
    i32 i_num_point;
    i32 i_num_bins;
    i32 i_num_areas;
    array_view<const t_passbin> bins;
    array_view<const t_icdata> points; // d_val holds the pass count
    array_view<const t_areaflt> areas;
    array_view<t_binresult> results;
    f64 alignment_area = 0; // included less excluded areas
    run_log log = {};
};

inline constexpr routine_text coverage_routine("icd_coverage_cal");

} // namespace qmx
