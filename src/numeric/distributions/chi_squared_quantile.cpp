#include "numeric/distributions/distribution_values.hpp"

#include <limits>

namespace qmx::numeric {

namespace {

// With more degrees of freedom the distribution is narrower than the spacing of f64.
constexpr f64 constant_from = 1e36;

// Where the lower tail would be p if the gamma density had no factor exp(-u): a lower bound of the
// quantile, close to it while it is small against 1.
f64 power_law_quantile(f64 log_p, f64 a) {
    const f64 b = a + 1.0;
    const f64 log_gamma = (b - 0.5) * logarithm(b) - b + half_log_2_pi.high + stirling_rest(b);
    return exponential((log_p + log_gamma) / a);
}

// Wilson and Hilferty (1931): the cube root is nearly normal.
f64 cube_root_normal_quantile(f64 z, f64 a) {
    const f64 root = std::fmax(1.0 - 1.0 / (9.0 * a) + z / (3.0 * std::sqrt(a)), 0.0);
    return a * root * root * root;
}

} // namespace

search_result chi_squared_quantile(f64 p, f64 df) {
    constexpr f64 root_of_2 = 1.4142135623730951;
    if (df > constant_from) return {df, search_outcome::converged};
    constexpr f64 least = 4.0 * std::numeric_limits<f64>::min(); // below, digits are being lost
    const f64 a = 0.5 * df; // half the variable is gamma of shape a
    const bool lower = p <= 0.5;
    const f64 tail = lower ? p : 1.0 - p;
    const double_double log_tail = log_of(tail);
    const f64 z = -root_of_2 * inverse_erfc(2.0 * p);
    f64 start = cube_root_normal_quantile(z, a);
    if (lower) {
        const f64 power_law = power_law_quantile(log_tail.high, a);
        start = std::fmax(start, power_law);
        if (start < least) return {2.0 * power_law, search_outcome::converged};
    }
    const f64 largest_step = lower ? 700.0 : 1.0; // the upper tail is flat near 0
    const gamma_kernel gamma(a);
    search_result found = logarithmic_newton(start, largest_step, [&](f64 u) {
        const double_double log_ratio = gamma.log_density(u) - log_tail;
        return lower ? log_residual::of(log_ratio, gamma.lower_factor(u))
                     : log_residual::of(log_ratio, gamma.upper_factor(u)).falling();
    });
    found.root *= 2.0;
    return found;
}

} // namespace qmx::numeric
