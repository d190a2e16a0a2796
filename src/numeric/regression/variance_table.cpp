#include "numeric/regression/variance_table.hpp"

#include "numeric/arithmetic/guarded.hpp"
#include "numeric/distributions/distributions.hpp"

#include <cmath>

namespace qmx::numeric {

void fill_variance_table(const variance_sources& sources, f64* AOV) {
    AOV[0] = sources.regression_degrees;
    AOV[1] = sources.error_degrees;
    AOV[2] = AOV[0] + AOV[1];
    AOV[3] = sources.regression_sum;
    AOV[4] = sources.error_sum;
    AOV[5] = AOV[3] + AOV[4];
    AOV[6] = guarded_quotient(AOV[3], AOV[0]);
    AOV[7] = guarded_quotient(AOV[4], AOV[1]);
    AOV[8] = guarded_quotient(AOV[6], AOV[7]);
    AOV[9] = probability_above_f(AOV[8], AOV[0], AOV[1]);
    AOV[10] = 100.0 * guarded_quotient(AOV[3], AOV[5]);
    AOV[11] = 100.0 * (1.0 - guarded_quotient(AOV[7], guarded_quotient(AOV[5], AOV[2])));
    AOV[12] = std::sqrt(AOV[7]);
    AOV[13] = sources.mean;
    AOV[14] = 100.0 * guarded_quotient(AOV[12], AOV[13]);
}

f64 probability_above_f(f64 F, f64 numerator_degrees, f64 denominator_degrees) {
    // NaN is tested apart: comparing it would raise a floating-point exception.
    if (std::isnan(F) || !(F >= 0.0 && numerator_degrees > 0.0 && denominator_degrees > 0.0))
        return std::numeric_limits<f64>::quiet_NaN();
    const f64 a = 0.5 * numerator_degrees, b = 0.5 * denominator_degrees;
    const f64 weighted = guarded_quotient(numerator_degrees, denominator_degrees) * F;
    if (weighted == 0.0 || std::isinf(weighted)) return weighted == 0.0 ? 1.0 : 0.0;
    // The smaller of the two tails is computed, for full relative accuracy.
    return F > 1.0 ? DBETAI(1.0 / (1.0 + weighted), b, a)
                   : 1.0 - DBETAI(weighted / (1.0 + weighted), a, b);
}

f64 two_sided_probability_of_t(f64 t, f64 degrees) {
    return probability_above_f(t * t, 1.0, degrees);
}

} // namespace qmx::numeric
