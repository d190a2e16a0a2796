// Test of lack of fit of a regression against the pure error of replicates (rows of equal
// abscissa).
#pragma once

#include "numeric/regression/givens_fit.hpp"

namespace qmx::numeric {

// Within a group of equal x the residuals scatter about their mean by pure error alone; the group
// means scatter about 0 by lack of fit as well.
struct pooled_replicates {
    f64 pure_degrees = 0.0; // frequencies less groups
    f64 pure_sum = 0.0;     // weighted squares about the group means
    f64 group_sum = 0.0;    // weighted squares of the group means
};

// Pools N >= 0 rows whose abscissas, in their order, are sorted_x; permutation gives the position,
// from 1, of each in the other columns.
void DUPSSQ(i64 N, const f64* sorted_x, const i32* permutation, const f64* residual,
            const f64* weight, const f64* frequency, pooled_replicates& pooled);

inline constexpr i32 lack_of_fit_entries = 10;

// Fills TESTLF: degrees of freedom of 1 error, 2 lack of fit, 3 pure error; sums of squares of 4
// error, 5 lack of fit, 6 pure error; mean squares of 7 lack of fit, 8 pure error; 9 F = entry 7 /
// entry 8, 10 its p-value. Without replicates 8 to 10 are NaN; with as many groups as coefficients
// 7, 9 and 10 are. sorted and permutation are work space of one element a row.
void fill_lack_of_fit(const line_fit& fit, const regression_rows& rows, f64* sorted,
                      i32* permutation, f64* TESTLF);

} // namespace qmx::numeric
