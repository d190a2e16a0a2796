#include "numeric/regression/lack_of_fit.hpp"

#include "numeric/arithmetic/guarded.hpp"
#include "numeric/regression/variance_table.hpp"
#include "numeric/sorting/sort_search.hpp"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace qmx::numeric {

void DUPSSQ(i64 N, const f64* sorted_x, const i32* permutation, const f64* residual,
            const f64* weight, const f64* frequency, pooled_replicates& pooled) {
    pooled = {};
    for (i64 first = 0, last = 0; first < N; first = last) {
        while (last < N && sorted_x[last] == sorted_x[first]) ++last;
        // Relative to the first residual, so that a row without replicates deviates by exactly 0.
        const f64 start = residual[permutation[first] - 1];
        f64 total = 0.0, sum = 0.0;
        for (i64 k = first; k < last; ++k) {
            const i64 row = permutation[k] - 1;
            total += weight[row];
            sum += weight[row] * (residual[row] - start);
            pooled.pure_degrees += frequency[row];
        }
        const f64 offset = sum / total, mean = start + offset;
        for (i64 k = first; k < last; ++k) {
            const i64 row = permutation[k] - 1;
            const f64 deviation = (residual[row] - start) - offset;
            pooled.pure_sum += weight[row] * (deviation * deviation);
        }
        pooled.group_sum += total * (mean * mean);
        pooled.pure_degrees -= 1.0;
    }
}

void fill_lack_of_fit(const line_fit& fit, const regression_rows& rows, f64* sorted,
                      i32* permutation, f64* TESTLF) {
    std::iota(permutation, permutation + rows.count, 1);
    const i32 count = static_cast<i32>(rows.count);
    if (count > 0) DSVRGP(count, rows.x, sorted, permutation);
    pooled_replicates pooled;
    DUPSSQ(count, sorted, permutation, rows.residual, rows.weight, rows.frequency, pooled);

    const f64 lack_degrees = fit.error_degrees() - pooled.pure_degrees;
    // With as many groups as coefficients the sum is a rounding error only.
    const f64 lack_sum =
        lack_degrees > 0.0 || std::isnan(pooled.group_sum) ? pooled.group_sum : 0.0;
    const i32 unit = 2 * fit.units.y + fit.units.weight;
    TESTLF[0] = fit.error_degrees();
    TESTLF[1] = lack_degrees;
    TESTLF[2] = pooled.pure_degrees;
    TESTLF[3] = std::ldexp(fit.error_sum, unit);
    TESTLF[4] = std::ldexp(lack_sum, unit);
    TESTLF[5] = std::ldexp(pooled.pure_sum, unit);
    const f64 lack_mean_square = guarded_quotient(lack_sum, lack_degrees);
    const f64 pure_mean_square = guarded_quotient(pooled.pure_sum, pooled.pure_degrees);
    TESTLF[6] = std::ldexp(lack_mean_square, unit);
    TESTLF[7] = std::ldexp(pure_mean_square, unit);
    TESTLF[8] = guarded_quotient(lack_mean_square, pure_mean_square);
    TESTLF[9] = probability_above_f(TESTLF[8], lack_degrees, pooled.pure_degrees);
}

} // namespace qmx::numeric
