// Chamber statistics: univariate statistics (here), frequency tables (frequency.hpp) and
// cross-correlations (cross_correlation.hpp) of f32 data, on exact means and moments. Called by the
// toolkit's wrappers only.
//
// Rows of STAT, one column for each variable, with n the count of row 10 and m_k the weighted sum
// of the k-th powers of the deviations from the mean:
//
//    1 mean                                     9 coefficient of variation, row 3 / row 1
//    2 variance m_2 / (n - 1)                  10 number of observations n, frequencies counted
//    3 standard deviation, root of row 2       11 lower and
//    4 skewness m_3 / (n s^3), s^2 = m_2 / n   12 upper confidence limit of the mean, by Student's t
//    5 excess m_4 / (n s^4) - 3                13 lower and
//    6 minimum                                 14 upper confidence limit of the variance, by
//    7 maximum                                    chi-squared with n - 1 degrees of freedom
//    8 range, row 7 - row 6                    15 sum of the weights; written only with IWT
//
// Row 9 is NaN where row 1 is 0. Missing values are NaN; they are skipped for the variable they occur in. A statistic that is not
// defined is NaN. With an infinite value rows 2 to 5, 9 and 11 to 14 are.
//
// Accuracy, one variable in one call without frequencies and weights, up to 1e7 rows: the mean is
// correctly rounded; each other row is within 2 units in the last place (skewness and excess: of
// the larger of 1 and their magnitude; limits of the mean, which are differences: of the larger of
// their magnitude and 1e-4 of the mean's), and none depends on the order of the values. Each
// row is formed in f64 and rounded once. With frequencies, weights or several calls the moments
// carry f64 rounding. docs/accuracy.md lists measured errors.
#pragma once

#include "base/base_types.hpp"
#include "numeric/statistics/moments.hpp"

namespace qmx::numeric {

// IDO     0: these rows are all; 1: first of several calls; 2: further rows; 3: last. Between calls
//         STAT keeps the running moments: rows 1, 6, 7, 10 and 15 as they stand, the others packed.
// NROW    rows of X. Negative, with IDO 2 or 3: these -NROW rows are taken away again; minimum and
//         maximum stay. 0, with IDO 2 or 3: no rows
// NVAR    number of variables: the columns of X that are neither IFRQ nor IWT, in their order
// X       [LDX by NVAR and up to two more columns], column-major
// IFRQ    column of frequencies, from 1; 0 for none. IWT the same for weights. A row with a zero in
//         either does not count; a negative one is skipped with a warning
// CONPRM  percent level of the limits of the mean, CONPRV of those of the variance; below 100; at
//         0.0 or less the limits are 0.0
// IPRINT  0 to 2; nothing is printed, results go to STAT only
// STAT    [LDSTAT by NVAR], LDSTAT >= 15; not written after an error of type 5
// NRMISS  rows with a NaN in any of the columns, over all calls of an analysis; may be null
//
// Errors of type 5 by code: 1 NVAR, 2 IDO, 3 IPRINT, 4 IFRQ, 5 IWT, 6 LDSTAT, 7 NROW, 8 CONPRM,
// 9 CONPRV, 10 more rows taken away than there were, 12 memory. Of type 3, code 16: a frequency or
// weight is negative. Of type 6, for the last variable concerned: 1 fewer than two observations,
// 2 all equal, 3 negative variance after rows were taken away, 5 no coefficient of variation,
// 8 to 11 no confidence limits, 12 to 14 range too small for the moments in f32, 15 no weight.
void UVSTA(const i32& IDO, const i32& NROW, const i32& NVAR, const f32* X, const i32& LDX,
           const i32& IFRQ, const i32& IWT, const f32& CONPRM, const f32& CONPRV, const i32& IPRINT,
           f32* STAT, const i32& LDSTAT, i32* NRMISS);

// The worker of UVSTA, in work space of NVAR elements.
void U2STA(const i32& IDO, const i32& NROW, const i32& NVAR, const f32* X, const i32& LDX,
           const i32& IFRQ, const i32& IWT, const f32& CONPRM, const f32& CONPRV, f32* STAT,
           const i32& LDSTAT, i32* NRMISS, central_moments* WK);

// Code of the terminal error of UVSTA that says memory ran out.
inline constexpr i32 univariate_storage_code = 12;

} // namespace qmx::numeric
