// Nonlinear least squares with bounds on the parameters and linear constraints. The chamber's door:
// called by the model fit of the semivariogram (BCNLS) and by the maturity fit (DBCLSJ). Below it,
// a trust-region method with a multistart.
//
//   minimise  |F(X)|,  F: N parameters -> M residuals
//   so that   XLB <= X <= XUB  and, for each row c of C,  BL <= c X <= BU
//
//   XLB is 1e30  XUB is -1e30  bounds        IRTYPE  constraint on v = c X
//   no           no            both          0       BL <= v <= BU
//   no           yes           lower only    1       v <= BU
//   yes          no            upper only    2       v >= BL
//   yes          yes           none          3       BL <= v <= BU
//
// A bound or limit that is NaN is ignored, and so is a row with a NaN coefficient. Crossed bounds
// are accepted: the parameter stays at its upper bound. A row with one nonzero coefficient is a
// bound on that parameter and holds exactly, unless XLB or XUB excludes it. Other rows hold to
// within rounding, and exactly where moving one parameter by a few ulps achieves it. Constraints
// that cannot all hold are violated by the least sum of squared distances.
//
// Settings, IPARAM and RPARAM (one-based); the defaults are loaded if IPARAM(1) is 0:
//
//   IPARAM  default  option
//   1       1        -       settings are loaded
//   2       75       2       ITMAX, limit on the trial steps of a descent
//   3       0        14      1: linear (Gauss-Newton) model only
//   4       5        15      successive steps to the boundary of the trust region, with negligible
//                            reduction, that mean a solution at infinity
//   5       0        16      1: evaluates the residuals at the start and returns
//   6       0        -       1: one descent only, no search for a better minimum
//   RPARAM
//   1       t        4       residual norm: zero below this times the machine epsilon; gradient:
//                            a predicted relative reduction of the sum of squares below its square
//                            is negligible
//   2       t        5       relative step length that ends the run
//   3       t        6       its square is the relative change of the sum of squares that ends the
//                            run; a step to the boundary must reduce the sum by this fraction
//   4       1e-5     7       predicted relative reduction that means noise when no step achieves it
//   5       1e-5     8       least ratio of actual to predicted reduction of an accepted step
//   6       e        9       relative difference step, e = sqrt(AMACH(4))
//   7       30       10      first trust-region radius, in thirtieths of the parameters' size
//
// with t = min(e, 1e-5). Relative reductions and changes below the machine epsilon are negligible.
//
//   stop                                                       ISTAT  warning (type 3)
//   -1  only the start was evaluated: IPARAM(5), or ITMAX < 1  5, 6   (6 if IPARAM(5) is 1)
//   0   every parameter is fixed by its bounds                 6
//   1   no parameter changes a residual                        6
//   2   the residuals are zero                                 1
//   3   a solution at infinity                                 -      1
//   4   the predicted reduction is negligible                  2
//   5   noise: no step achieves the predicted reduction, or    -      2
//       a residual at the start is not finite
//   6   the parameters no longer change                        3
//   7   the sum of squares no longer changes                   4
//   8   ITMAX                                                  -      3
//
// After a warning ISTAT is unchanged and X is the best point found. Terminal errors (type 5) return
// at once and leave X, RNORM and ISTAT unwritten:
//
//   1 M < 1, 2 N < 1, 3 MCON < 0, 4 LDC < MCON, 5 IRTYPE(i) not 0 to 3, 6 out of memory
//
// The first descent decides the stop code. The search after it may improve X; it never makes a
// warning of an ordinary end or lifts 8, but 3 and 5 give way to the ordinary end of a later
// descent at a point as good.
//
// Accuracy, kept true by bounded_fit_certified_test.cpp: on three nonlinear regressions with
// certified answers, one of them hidden from its first start by a plateau, the f64 member gives at
// least 7 digits of every parameter with the caller's Jacobian and 6 by differences, from either
// start. On 300 random semivariograms the f32 member ends ordinarily within 0.1 % of the best norm,
// or 1e-5 of the data's norm (bounded_fit_minima_test.cpp). bench/bounded_fit_survey compares
// 50,000 problems.
#pragma once

#include "base/array_view.hpp"

#include <cstddef>

namespace qmx::numeric {

// MCON by N coefficients, by columns; leading is the column stride.
template <class Real> struct coefficient_view {
    const Real* first;
    i64 rows;
    i64 columns;
    i64 leading;
};

// F [M], the residuals at X [N]; FJAC [LDFJAC by N], by columns, their derivatives.
template <class Real>
using residual_routine = void (*)(const i32& M, const i32& N, const Real* X, Real* F);
template <class Real>
using jacobian_routine = void (*)(const i32& M, const i32& N, const Real* X, Real* FJAC,
                                  const i32& LDFJAC);

inline constexpr i32 bounded_fit_storage_code = 6; // type 5

// BL, BU and IRTYPE hold MCON elements, XLB, XUB and X hold N. MCON, NVAR and LDC default to the
// extents of C, XGUESS [N] to zeros; RNORM and ISTAT are optional.
void BCNLS(residual_routine<f32> FCN, const i32& M, const coefficient_view<f32>& C,
           const array_view<const f32>& BL, const array_view<const f32>& BU,
           const array_view<const i32>& IRTYPE, const array_view<const f32>& XLB,
           const array_view<const f32>& XUB, const array_view<f32>& X, const i32* MCON = nullptr,
           const i32* NVAR = nullptr, const i32* LDC = nullptr, const f32* XGUESS = nullptr,
           f32* RNORM = nullptr, i32* ISTAT = nullptr);

// The same in f64, with the caller's Jacobian.
void DBCLSJ(residual_routine<f64> FCN, jacobian_routine<f64> JAC, const i32& M,
            const coefficient_view<f64>& C, const array_view<const f64>& BL,
            const array_view<const f64>& BU, const array_view<const i32>& IRTYPE,
            const array_view<const f64>& XLB, const array_view<const f64>& XUB,
            const array_view<f64>& X, const i32* MCON = nullptr, const i32* NVAR = nullptr,
            const i32* LDC = nullptr, const f64* XGUESS = nullptr, f64* RNORM = nullptr,
            i32* ISTAT = nullptr);

// ---- The layers below, on plain arrays ---------------------------------------------------------

template <class Real> struct bounded_problem {
    residual_routine<Real> FCN;
    jacobian_routine<Real> JAC; // null: differences
    i32 M, N, MCON;
    const Real* C; // [LDC by N]
    i32 LDC;
    const Real *BL, *BU;            // [MCON]
    const i32* IRTYPE;              // [MCON]
    const Real *XLB, *XUB, *XGUESS; // [N]
};

// Checks the sizes, allocates the workspace and calls b2nls. IPARAM [6], RPARAM [7].
template <class Real>
void bcnls(const bounded_problem<Real>& problem, i32* IPARAM, Real* RPARAM, Real* X, Real& RNORM,
           i32& ISTAT);

// As bcnls, in the caller's workspace of b2nls_storage bytes.
template <class Real>
void b2nls(const bounded_problem<Real>& problem, i32* IPARAM, Real* RPARAM, Real* X, Real& RNORM,
           i32& ISTAT, std::byte* storage, i64 bytes);
template <class Real> i64 b2nls_storage(const bounded_problem<Real>& problem);

} // namespace qmx::numeric
