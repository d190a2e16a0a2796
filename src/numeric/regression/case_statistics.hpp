// What a fitted line says of each row of the data.
#pragma once

#include "numeric/regression/givens_fit.hpp"

namespace qmx::numeric {

inline constexpr i32 case_columns = 12;

// Fills CASE, [LDCASE by 12], one row for each row of the matrix. With s^2 the mean square of the
// error, d its degrees of freedom, p the number of estimated coefficients, w the row's weight, v the
// variance of the line at the row's x over s^2, and q the quantile of Student's t with d degrees of
// freedom at (100 + confidence) / 200:
//
//    1 observed response y                      7 distance of influence (R. D. Cook, 1977),
//    2 predicted response f                       r^2 h / (p (1 - h))
//    3 residual e = y - f                       8 scaled change of the fit, t sqrt(h / (1 - h))
//    4 leverage h = w v                         9 and
//    5 standardised residual                   10 limits of the mean, f -+ q s sqrt(v)
//      r = e sqrt(w) / (s sqrt(1 - h))         11 and
//    6 deleted residual, e standardised by     12 limits of a prediction,
//      the s of the fit without this               f -+ q s sqrt(1 / (w m) + v), for the mean of
//      observation: t = r sqrt((d - 1) /           m responses (one, or as the column of future
//      (d - r^2))                                  responses says; above 0)
//
// A frequency stands for so many equal rows; columns 4 to 8 are of one of them. Rows that take no
// part in the fit have NaN in columns 4 to 8; a row without response but with x still has its
// prediction and limits. Columns 5 to 8 are NaN where the line must pass through the row (leverage 1
// within rounding), limits where d is below 1.
void fill_case_statistics(const line_fit& fit, const model_columns& columns,
                          f64 mean_confidence_percent, f64 prediction_confidence_percent, f64* CASE,
                          i32 LDCASE);

} // namespace qmx::numeric
