// The rules of one pair, as the plain loop applies them: direction and trimming.
#pragma once

#include "base/elementary_functions.hpp"
#include "semivariogram/kernel/lag_classes.hpp"
#include "semivariogram/search/gamv_variables.hpp"

#include <cmath>

namespace qmx {

// The search direction as a unit vector, and the least cosines of the angle between pair and direction.
struct search_direction {
    f32 uvxazm, uvyazm; // in the plane
    f32 csatol;
    f32 uvzdec, uvhdec; // vertical and horizontal part
    f32 csdtol;
};

inline search_direction direction_of(const t_gamvset& set) {
    constexpr f32 pi = 3.1415927F;
    constexpr f32 cosine_of_45 = 0.70710677F;
    const auto radians = [](f32 degrees) { return (degrees * pi) / 180.0F; };
    const f32 azmuth = radians(90.0F - set.azm);
    const f32 declin = radians(90.0F - set.dip);
    search_direction direction;
    direction.uvxazm = cosine(azmuth);
    direction.uvyazm = sine(azmuth);
    direction.csatol = set.atol <= 0 ? cosine_of_45 : cosine(radians(set.atol));
    direction.uvzdec = cosine(declin);
    direction.uvhdec = sine(declin);
    direction.csdtol = set.dtol <= 0 ? cosine_of_45 : cosine(radians(set.dtol));
    return direction;
}

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

// An omnidirectional search counts a pair twice, unless a value is NaN or equals the upper limit.
inline bool counts_twice(const t_gamvset& set, f32 value) {
    return value >= set.tmin && value < set.tmax;
}

inline bool is_omnidirectional(const t_gamvset& set) {
    return set.atol >= 90;
}

} // namespace qmx
