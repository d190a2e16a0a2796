// Case statistics of a fitted line: one row for each row of the data.
#pragma once

#include "numeric/regression/givens_fit.hpp"

namespace qmx::numeric {

inline constexpr i32 case_columns = 12;

// Fills CASE, [LDCASE by 12], one row for each row of the matrix. With s^2 the mean square of the
// error, d its degrees of freedom, p the number of estimated coefficients, w the row's weight, v
// the variance of the line at the row's x over s^2, and q the quantile of Student's t with d
// degrees of freedom at (100 + confidence) / 200:
//
//    1 observed response y                      7 Cook's distance (R. D. Cook, 1977),
//    2 predicted response f                       r^2 h / (p (1 - h))
//    3 residual e = y - f                       8 DFFITS, t sqrt(h / (1 - h))
//    4 leverage h = w v                         9 and
//    5 standardized (internally studentized)   10 confidence limits of the mean response,
//      residual r = e sqrt(w) /                   f -+ q s sqrt(v)
//      (s sqrt(1 - h))                         11 and
//    6 externally studentized residual, with   12 prediction limits, f -+ q s sqrt(1 / (w m) + v),
//      the s of the fit without this              for the mean of m responses (one, or the number
//      observation: t = r sqrt((d - 1) /          in the column of future responses; above 0)
//      (d - r^2))
//
// Columns 4 to 8 of a row with frequency f are those of one of its f equal observations. Rows that
// take no part in the fit have NaN there; a row without a response still has its prediction and
// limits. Columns 5 to 8 are NaN where the line must pass through the row: where 1 - h is at most
// 100 machine epsilons. Limits are NaN where d is below 1.
void fill_case_statistics(const line_fit& fit, const model_columns& columns,
                          f64 mean_confidence_percent, f64 prediction_confidence_percent, f64* CASE,
                          i32 LDCASE);

} // namespace qmx::numeric
