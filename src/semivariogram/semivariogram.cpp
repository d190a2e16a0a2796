#include "semivariogram/semivariogram.hpp"

#include "base/limits.hpp"
#include "events/event.hpp"
#include "semivariogram/experimental.hpp"
#include "semivariogram/model_fit.hpp"

#include <iterator>

namespace qmx {

namespace {

constexpr routine_text self("qmx_icdata_semivgm_drv");
constexpr i32 flag_no = 2;
constexpr f32 trimming_limit = 1.0e21F; // of values, to either side

t_gamvset full_settings(const t_gamvset_user& user) {
    t_gamvset set = {};
    set.tmin = -trimming_limit;
    set.tmax = trimming_limit;
    set.nlag = user.i_nlag;
    set.xlag = user.x_xlag;
    set.xltol = user.x_xlag * 0.5F;
    set.azm = user.x_azm;
    set.atol = user.x_atol;
    set.bandwh = user.x_bandwh;
    set.bandwd = user.x_bandwh;
    set.isill = user.i_standsills == flag_yes ? 1 : 0;
    set.ivtype = 1;
    set.ivtail = 1;
    set.ivhead = 1;
    return set;
}

// The result table and what the model fit works with. The library serves one call at a time.
f64 result_table[result_columns * most_lag_classes];
f32 narrow_distances[most_lag_classes];
f32 narrow_semivariances[most_lag_classes];
f32 curve_distances[model_curve_points];
f32 curve_semivariances[model_curve_points];
f32 model_parameters[2];

} // namespace

i32 qmx_icdata_semivgm_drv(const i32& idx_model, const i32& i_ndata,
                           const array_view<const t_icdata>& t_data,
                           const t_gamvset_user& t_gamvset, const array_view<f64>& x_lagdist,
                           const array_view<f64>& x_gamma, f64* x_modelcoef,
                           const array_view<f64>& x_fitlag, const array_view<f64>& x_fitgamma,
                           f32* s_fitsummary) {
    if (t_gamvset.i_standsills != flag_yes && t_gamvset.i_standsills != flag_no)
        return fail_here(self, "t_gamvset_user%i_standsills has to be either 1 or 2");
    if (t_gamvset.i_nlag > most_lag_classes - 2)
        return fail_here(self, "i_nlag + 2 exceeds the maximum 100 lag classes");

    i32 classes = 0;
    const auto result = view_of(result_table, std::ssize(result_table));
    gslib_gamv(full_settings(t_gamvset), i_ndata, t_data, classes, result);
    if (has_failed()) return pass_up(self);
    for (i64 k = 1; k <= classes; ++k) {
        x_lagdist(k) = result(result_index(result_column::distance, k));
        x_gamma(k) = result(result_index(result_column::semivariance, k));
        narrow_distances[k - 1] = static_cast<f32>(x_lagdist(k));
        narrow_semivariances[k - 1] = static_cast<f32>(x_gamma(k));
    }

    semivariogram_modlefit(idx_model, classes, view_of<const f32>(narrow_distances, classes),
                           view_of<const f32>(narrow_semivariances, classes), model_parameters,
                           view_of(curve_distances, model_curve_points),
                           view_of(curve_semivariances, model_curve_points), s_fitsummary);
    if (has_failed()) {
        pass_up(self);
        if (!has_run_out_of_memory()) current_event.c_description.assign("Only the curvefit fails");
        return status_failure;
    }
    for (i64 k = 0; k < 2; ++k) x_modelcoef[k] = static_cast<f64>(model_parameters[k]);
    for (i64 k = 1; k <= model_curve_points; ++k) {
        x_fitlag(k) = static_cast<f64>(curve_distances[k - 1]);
        x_fitgamma(k) = static_cast<f64>(curve_semivariances[k - 1]);
    }
    return status_success;
}

} // namespace qmx
