// The rules of one pair, as the plain loop applies them: direction, trimming and measure.
#pragma once

#include "semivariogram/kernel/lag_classes.hpp"
#include "semivariogram/search/pair_search.hpp"

#include <cmath>

namespace qmx {

// Whether the direction accepts the pair, given dx, dy, their distance h and the class.
inline bool direction_accepts(const search_direction& direction, const t_gamvset& set, f32 dx,
                              f32 dy, f32 h, i32 lag_class) {
    f32 dxy = h;
    const f32 dcazm =
        dxy < epsilon_distance ? 1.0F : (direction.uvxazm * dx + direction.uvyazm * dy) / dxy;
    if (std::fabs(dcazm) < direction.csatol) return false;
    const f32 across = direction.uvxazm * dy - direction.uvyazm * dx;
    if (std::fabs(across) > set.bandwh) return false;
    if (dcazm < 0) dxy = -dxy;
    if (lag_class != coincident_class) {
        const f32 dcdec = (direction.uvhdec * dxy) / h;
        if (std::fabs(dcdec) < direction.csdtol) return false;
    }
    const f32 vertical = -(direction.uvzdec * dxy);
    return !(std::fabs(vertical) > set.bandwd);
}

inline bool is_trimmed(const t_gamvset& set, f32 value) {
    return value < set.tmin || value > set.tmax;
}

// Values that an omnidirectional search counts a second time: not the upper limit itself, and no NaN.
inline bool counts_twice(const t_gamvset& set, f32 value) {
    return value >= set.tmin && value < set.tmax;
}

inline bool is_omnidirectional(const t_gamvset& set) {
    return set.atol >= 90;
}

} // namespace qmx
