// The parameter record of an experimental semivariogram, its checks, and the working variables that
// they set up.
#pragma once

#include "base/array_view.hpp"
#include "base/limits.hpp"
#include "base/work_array.hpp"
#include "qmx_ic.h"

namespace qmx {

struct t_gamvset {
    f32 tmin, tmax;     // trimming limits: values outside take no part
    i32 nlag;           // number of lags; there are nlag + 2 lag classes
    f32 xlag;           // lag distance, unit of the coordinates
    f32 xltol;          // lag tolerance, same unit; 0 or less means half the lag distance
    f32 azm;            // azimuth of the search, degrees clockwise from the positive y axis
    f32 atol;           // half-angle of the search cone, degrees; 0 or less means 45
    f32 bandwh;         // horizontal bandwidth, unit of the coordinates
    f32 dip;            // dip of the search, degrees
    f32 dtol;           // half-angle in dip, degrees; 0 or less means 45
    f32 bandwd;         // vertical bandwidth, unit of the coordinates
    i32 isill;          // 1: the semivariances are divided by the variance of the data
    i32 ivtype;         // measure; 1, the semivariogram, is the one that is computed
    i32 ivtail, ivhead; // tail and head variable, both 1
};

// What the parameters and the data become: the working variables of one computation. Positions and
// values are narrowed to 32 bits; past the last point each array has padding that the pair search
// may read, but not use.
struct gamv_variables {
    static constexpr i64 padding = 64;

    t_gamvset set;
    i64 maxdat = 0;
    f32* x = nullptr;
    f32* y = nullptr;
    f32* vr = nullptr;
    work_array<f32> storage; // of all three
    f64 sills = -999.0;      // population variance of the values; negative without data
};

// Checks the record, narrows the data and computes the variance, from the values before narrowing
// and by the one-pass formula: sum of squares / n - mean squared. Trimming does not apply to it.
//
// The first check that fails ends the routine. Failures (code 101; the path holds "readparm" alone):
//   ivtype 9 or 10  "i_vgmtype_indsemivgmcont and i_vgmtype_indsemivgmcate are not implemented yet"
//   nlag < 1        "nlag is too small: check parameters"
//   xlag < 0        "xlag is too small: check parameter file"
//   bandwh < 0      "horizontal bandwidth is too small"
//   bandwd < 0      "vertical bandwidth is too small"
i32 readparm(const t_gamvset& set, const i32& number_of_data,
             const array_view<const t_icdata>& data, gamv_variables& variables);

} // namespace qmx
