// Simple linear regression, with numerical errors as events. For the spot tests.
#pragma once

#include "base/base_types.hpp"

#include <cstddef>
#include <type_traits>

namespace qmx {

// DRONE, whose arguments and results numeric/regression/simple_regression.hpp describes, without
// console output. Returns 1, or 3 with an event, code 101:
//   "error calling imsl drcurv"      no valid row, or a negative frequency or weight; the routine's
//   name
//                                    stands twice in the path
//   "memory could not be allocated"
// Refused arguments, which leave the outputs unwritten, and missing degrees of freedom are no
// failures.
i32 linr_regrs(const i32& NOBS, const i32& NCOL, const f64* X, const i32& LDX, const i32& INTCEP,
               const i32& IRSP, const i32& IND, const i32& IFRQ, const i32& IWT, const i32& IPRED,
               const f64& CONPCM, const f64& CONPCP, const i32& IPRINT, f64* AOV, f64* COEF,
               const i32& LDCOEF, f64* COVB, const i32& LDCOVB, f64* TESTLF, f64* CASE,
               const i32& LDCASE, i32& NRMISS);

// A matrix that belongs to somebody else, with any distances in bytes between its elements.
template <class T> struct matrix_view {
    T* base = nullptr;
    i64 rows = 0;
    i64 columns = 0;
    std::ptrdiff_t row_stride = sizeof(T);
    std::ptrdiff_t column_stride = 0;

    T& operator()(i64 row, i64 column) const { // from 1
        using byte = std::conditional_t<std::is_const_v<T>, const char, char>;
        return *reinterpret_cast<T*>(reinterpret_cast<byte*>(base) + (row - 1) * row_stride +
                                     (column - 1) * column_stride);
    }
};

inline constexpr i64 case_table_columns = 12;

// linr_regrs without frequencies, weights and covariances, at 95 percent, on matrices of any
// stride. Works on contiguous copies; that of the case table is copied back.
//
//   d_x      data; every row is an observation
//   d_case   case statistics: as many rows as d_x, 12 columns
//   AOV      [15] analysis of variance
//   COEF     [INTCEP + 1 by 5] coefficients, column-major
//   NRMISS   rows with a missing value
//
// Returns as linr_regrs does. Elements of d_case beyond the rows of d_x or column 12 are left
// alone.
i32 linr_regrs_simp(const matrix_view<const f64>& d_x, const i32& INTCEP, const i32& IRSP,
                    const i32& IND, f64* AOV, f64* COEF, const matrix_view<f64>& d_case,
                    i32& NRMISS);

} // namespace qmx
