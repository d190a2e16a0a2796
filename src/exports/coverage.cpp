#include "coverage/coverage.hpp"
#include "exports/export_frame.hpp"

using namespace qmx;

extern "C" int32_t IC_coverage(const float* x_meshsize, int32_t i_num_point, int32_t i_num_bins,
                               int32_t i_num_areas, const t_passbin* t_bins, const t_icdata* t_data,
                               const t_areaflt* t_areas, t_binresult* t_results,
                               t_event* t_evt) noexcept {
    static constexpr routine_text self("IC_coverage");
    const call_arithmetic arithmetic;
    clear_event();
    icd_coverage_cal(x_meshsize, i_num_point, i_num_bins, i_num_areas, view_of(t_bins, i_num_bins),
                     view_of(t_data, i_num_point), view_of(t_areas, i_num_areas),
                     view_of(t_results, i_num_bins));
    return finish_export(self, t_evt);
}
