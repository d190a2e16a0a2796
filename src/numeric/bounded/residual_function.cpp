#include "numeric/bounded/residual_function.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

namespace qmx::numeric {

f64 evaluate(const residual_function& function, f64 scale, const f64* x, f64* f) {
    function.residuals(function.context, x, f);
    f64 sum = 0.0;
    for (i64 i = 0; i < function.m; ++i) {
        f[i] *= scale;
        sum += f[i] * f[i];
    }
    return std::isfinite(sum) ? sum : std::numeric_limits<f64>::infinity();
}

f64 nearest_parameter(const residual_function& function, f64 x) {
    if (!function.is_single) return x;
    constexpr f64 most = std::numeric_limits<f32>::max();
    return static_cast<f64>(static_cast<f32>(std::clamp(x, -most, most)));
}

f64 next_parameter(const residual_function& function, f64 x, f64 toward) {
    if (!function.is_single) return std::nextafter(x, toward);
    const f32 side =
        toward > x ? std::numeric_limits<f32>::max() : std::numeric_limits<f32>::lowest();
    return static_cast<f64>(std::nextafter(static_cast<f32>(x), side));
}

f64 epsilon_of(const residual_function& function) {
    return function.is_single ? static_cast<f64>(std::numeric_limits<f32>::epsilon())
                              : std::numeric_limits<f64>::epsilon();
}

} // namespace qmx::numeric
