#include "coverage/coverage.hpp"

#include "coverage/alignment_area.hpp"
#include "coverage/bin_areas.hpp"
#include "coverage/coverage_state.hpp"
#include "events/event.hpp"

namespace qmx {

namespace {

constexpr i32 flag_no = 2;
constexpr i32 most_vertices = static_cast<i32>(std::extent_v<decltype(t_areaflt::d_vert_x)>);
constexpr f32 no_result = -99.0F;

// Stops at the first invalid area. The messages name it only by the letter i.
void check_areas(const coverage_state& state) {
    for (i64 i = 1; i <= state.areas.extent; ++i) {
        const t_areaflt& area = state.areas(i);
        if (area.i_flag_exclusion != flag_yes && area.i_flag_exclusion != flag_no) {
            fail_here(coverage_routine,
                      "t_areaflt(i)%i_flag_exclusion needs to be either 1 (yes) or 2 (no)");
            return;
        }
        if (area.i_numvertices > most_vertices) {
            fail_here(coverage_routine,
                      "t_areaflt(i)%i_numvertices is greater than allowed maximum 10000");
            return;
        }
    }
}

void calculate(coverage_state& state) {
    log_inputs(state);
    check_areas(state);
    if (has_failed()) return;
    for (i64 i = 1; i <= state.results.extent; ++i)
        state.results(i) = {no_result, no_result, no_result};
    compute_alignment_areas(state);
    if (has_failed()) return;
    compute_areas_for_bins(state);
    if (has_failed()) return;
    log_results(state);
}

i32 run(coverage_state& state) {
    calculate(state);
    if (!has_failed()) {
        log_exit(state, true);
        return status_success;
    }
    restart_path(coverage_routine);
    log_exit(state, false);
    return status_failure;
}

} // namespace

i32 icd_coverage_cal(const f32* x_meshsize, const i32& i_num_point, const i32& i_num_bins,
                     const i32& i_num_areas, const array_view<const t_passbin>& bins,
                     const array_view<const t_icdata>& points,
                     const array_view<const t_areaflt>& areas,
                     const array_view<t_binresult>& results) {
    coverage_state state = {x_meshsize, i_num_point, i_num_bins, i_num_areas,
                            bins,       points,      areas,      results};
    return run(state);
}

i32 calculate_coverage_with_log(coverage_state& state) {
    open_run_log(state.log);
    if (has_failed()) {
        restart_path(coverage_routine);
        return status_failure;
    }
    return run(state);
}

} // namespace qmx
