#include "spot_tests/point_stats.hpp"
#include "exports/export_frame.hpp"

using namespace qmx;

namespace {

// The fields that the driver leaves alone for a spot test without IC data. The percent levels and
// their values stay.
void reset(t_statsout& record) {
    constexpr i32 no = 2;
    record.i_flag_target = no;
    record.i_target_met = no;
    std::fill(std::begin(record.x_cumfreq), std::end(record.x_cumfreq), 0.0F);
    record.x_target = 0.0F;
    record.x_target_pct = 0.0F;
    record.x_achieved_pct = 0.0F;
}

} // namespace

extern "C" int32_t IC_PointsData_stats(int32_t i_numdata, int32_t i_numtests, double d_radius,
                                       const t_icdata* t_data, const t_icdata* t_tests,
                                       t_statsout* t_stats, float* x_regress, int32_t* i_numvalid,
                                       int32_t* i_validlist, double* d_predict,
                                       t_event* t_evt) noexcept {
    static constexpr routine_text self("IC_PointsData_stats");
    const call_arithmetic arithmetic;
    clear_event();
    const array_view<t_statsout> stats = view_of(t_stats, i_numtests);
    for (i64 k = 1; k <= stats.extent; ++k) reset(stats(k));
    qmx_point_stats_drv(i_numdata, i_numtests, view_of(t_data, i_numdata),
                        view_of(t_tests, i_numtests), d_radius, stats, x_regress, i_numvalid,
                        view_of(i_validlist, i_numtests), view_of(d_predict, i_numtests));
    return finish_export(self, t_evt);
}
