// The semivariogram of one lot: experimental part, fitted model, curve and summary. Called by the export
// IC_semivariogram. The driver and the model fit stand on search/ (which pairs are in range), and that
// on kernel/ (what a pair adds).
#pragma once

#include "base/array_view.hpp"
#include "qmx_ic.h"

namespace qmx {

// See IC_semivariogram for arguments and failures; idx_model as for semivariogram_modlefit. The
// outputs are expected to hold zeros. The experimental result is written before the model is fitted:
// it is there even if the fit fails.
i32 qmx_icdata_semivgm_drv(const i32& idx_model, const i32& i_ndata,
                           const array_view<const t_icdata>& t_data,
                           const t_gamvset_user& t_gamvset, const array_view<f64>& x_lagdist,
                           const array_view<f64>& x_gamma, f64* x_modelcoef,
                           const array_view<f64>& x_fitlag, const array_view<f64>& x_fitgamma,
                           f32* s_fitsummary);

} // namespace qmx
