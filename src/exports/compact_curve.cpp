#include "compaction/compact_curve.hpp"
#include "base/limits.hpp"
#include "exports/export_frame.hpp"

using namespace qmx;

extern "C" int32_t IC_compact_curve_b(int32_t i_maxpassno, int32_t i_mindata, int32_t i_numdata,
                                      const t_icdata* t_data, int32_t* i_numpasses,
                                      double* d_passmean, double* d_curvex, double* d_curvey,
                                      t_fitout* t_fit, t_event* t_evt) noexcept {
    static constexpr routine_text self("IC_compact_curve_b");
    const call_arithmetic arithmetic;
    clear_event();
    const array_view<f64> means = view_of(d_passmean, i_maxpassno);
    std::fill_n(means.base, means.extent, 0.0);
    std::fill_n(d_curvex, curve_points, 0.0);
    std::fill_n(d_curvey, curve_points, 0.0);
    *t_fit = {};
    qmx_icdata_cmpcurv_B_drv(i_maxpassno, i_mindata, i_numdata, view_of(t_data, i_numdata),
                             *i_numpasses, means, view_of(d_curvex, curve_points),
                             view_of(d_curvey, curve_points), *t_fit);
    return finish_export(self, t_evt);
}
