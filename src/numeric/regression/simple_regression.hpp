// Chamber regression: simple linear regression with its analysis of variance, coefficient table,
// test of lack of fit and case statistics. Called by the toolkit's regression wrappers; the curve
// fits use its variance table.
//
// Model: y = b0 + b1 x + error, the variance of the error being sigma^2 / w, by weighted least
// squares.
//
//   NOBS    rows of X; 0 or more
//   NCOL    columns of X
//   X       [LDX by NCOL] data, column-major, LDX >= NOBS
//   INTCEP  1: the model has the intercept b0; 0: it has not
//   IRSP    column, from 1, of the response; IND of the independent variable
//   IFRQ    column of frequencies (a row with frequency f stands for f equal rows), 0: all are 1
//   IWT     column of weights, 0: all are 1
//   IPRED   column with the number m of future responses: prediction limits are for their mean;
//           0: one response
//   CONPCM  confidence level in percent, at least 0 and below 100, of the confidence limits;
//   CONPCP  of the prediction limits
//   IPRINT  0 to 3; nothing is printed, results go to the arrays only
//   AOV     [15] analysis of variance, in the order of variance_table.hpp
//   COEF    [LDCOEF by 5] one row for each of b0 (with INTCEP 1) and b1, LDCOEF >= INTCEP + 1:
//           1 estimate b, 2 standard error s sqrt(C_jj), 3 t = column 1 / column 2, 4 two-sided
//           p-value of t, 5 variance inflation factor 1 / (1 - R_j^2), R_j the multiple correlation
//           of column j with the others (about the mean for x with an intercept). C is the
//           inverse of the matrix of weighted cross products
//   COVB    [LDCOVB by INTCEP + 1] covariances s^2 C of the estimates
//   TESTLF  [10] lack of fit against the pure error of replicates, see lack_of_fit.hpp
//   CASE    [LDCASE by 12] one row for each row of X, LDCASE >= NOBS, see case_statistics.hpp
//   NRMISS  rows with a NaN in a column of the model (not IPRED), which are left out of the fit
//
// A row with frequency or weight 0 takes no part in the fit and is not counted. If the independent
// variable does not vary (a pivot of at most 100 machine epsilons times the column's norm, or a
// column of zeros without an intercept), the slope is not estimated: it is 0, its inference NaN,
// and it takes no degree of freedom. What is not defined is NaN; divisions are guarded
// (arithmetic/guarded.hpp). An infinite value makes all results NaN except counts.
//
// Errors of type 5 leave all outputs unwritten, by code: 1 NOBS, 2 NCOL, 3 LDX, 4 INTCEP, 5 IRSP,
// 6 IND, 7 IFRQ, 8 IWT, 9 IPRED, 10 CONPCM, 11 CONPCP, 12 IPRINT, 13 LDCOEF, 14 LDCOVB, 15 LDCASE,
// 16 memory. Of type 4, only NRMISS is written: 1 a negative frequency, 2 a negative weight, 7 each
// row has a missing value. Of type 6, all is computed: 4 no degree of freedom is left for the
// error, 10 and 11 a confidence level below 50.
//
// Accuracy: the estimates are good to the last digits of f64 whatever the offsets of x and y, sums
// of squares and standard errors to 13 digits: the reduction is about the means and is repeated on
// the residuals, which are formed in double-double (iterative refinement of a least squares
// solution: A. Bjorck, 1967). Columns are first scaled by powers of two, so that neither squares
// nor rotations overflow or underflow.
#pragma once

#include "base/base_types.hpp"

namespace qmx::numeric {

// Code of the terminal error of DRONE that says memory ran out.
inline constexpr i32 simple_regression_storage_code = 16;

void DRONE(const i32& NOBS, const i32& NCOL, const f64* X, const i32& LDX, const i32& INTCEP,
           const i32& IRSP, const i32& IND, const i32& IFRQ, const i32& IWT, const i32& IPRED,
           const f64& CONPCM, const f64& CONPCP, const i32& IPRINT, f64* AOV, f64* COEF,
           const i32& LDCOEF, f64* COVB, const i32& LDCOVB, f64* TESTLF, f64* CASE,
           const i32& LDCASE, i32& NRMISS);

// The worker of DRONE, in work space of 6 * NOBS reals and NOBS integers.
void DR2NE(const i32& NOBS, const i32& NCOL, const f64* X, const i32& LDX, const i32& INTCEP,
           const i32& IRSP, const i32& IND, const i32& IFRQ, const i32& IWT, const i32& IPRED,
           const f64& CONPCM, const f64& CONPCP, const i32& IPRINT, f64* AOV, f64* COEF,
           const i32& LDCOEF, f64* COVB, const i32& LDCOVB, f64* TESTLF, f64* CASE,
           const i32& LDCASE, i32& NRMISS, f64* WK, i32* IWK);

} // namespace qmx::numeric
