#include "semivariogram/semivariogram.hpp"
#include "base/limits.hpp"
#include "exports/export_frame.hpp"

using namespace qmx;

extern "C" int32_t IC_semivariogram(int32_t i_ndata, const t_icdata* t_data,
                                    const t_gamvset_user* t_gamvset, double* x_lagdist,
                                    double* x_gamma, double* x_modelcoef, double* x_fitlag,
                                    double* x_fitgamma, float* s_fitsummary,
                                    t_event* t_evt) noexcept {
    static constexpr routine_text self("IC_semivariogram");
    static constexpr i32 exponential_model = 1;
    const call_arithmetic arithmetic;
    clear_event();
    // Nothing is cleared where i_nlag + 2 would overflow.
    constexpr i32 most = std::numeric_limits<i32>::max();
    const i32 classes = t_gamvset->i_nlag > most - 2 ? 0 : t_gamvset->i_nlag + 2;
    const array_view<f64> distances = view_of(x_lagdist, classes);
    const array_view<f64> semivariances = view_of(x_gamma, classes);
    std::fill_n(distances.base, distances.extent, 0.0);
    std::fill_n(semivariances.base, semivariances.extent, 0.0);
    std::fill_n(x_modelcoef, 2, 0.0);
    std::fill_n(x_fitlag, curve_points, 0.0);
    std::fill_n(x_fitgamma, curve_points, 0.0);
    std::fill_n(s_fitsummary, 4, 0.0F);
    qmx_icdata_semivgm_drv(exponential_model, i_ndata, view_of(t_data, i_ndata), *t_gamvset,
                           distances, semivariances, x_modelcoef, view_of(x_fitlag, curve_points),
                           view_of(x_fitgamma, curve_points), s_fitsummary);
    return finish_export(self, t_evt);
}
