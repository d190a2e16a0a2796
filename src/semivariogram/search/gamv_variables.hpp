// What the pair search works on: the parameter record, and positions and values in 32 bits.
#pragma once

#include "base/base_types.hpp"
#include "base/work_array.hpp"

namespace qmx {

struct t_gamvset {
    f32 tmin, tmax;     // trimming limits: no pair with a value outside counts
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
    i32 ivtype;         // kind of variogram; only 1, the semivariogram, is computed
    i32 ivtail, ivhead; // tail and head variable, both 1
};

// The parameters and the narrowed data of one computation. Each array has padding before its first and
// after its last point: the pair search may read it, and uses none of it.
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

} // namespace qmx
