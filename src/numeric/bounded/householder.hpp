// Orthogonal factors of a small dense matrix by Householder reflections.
//
// Method: Householder, Unitary triangularization of a nonsymmetric matrix (1958); with column
// exchanges after Businger and Golub, Linear least squares solutions by Householder transformations
// (1965).
#pragma once

#include "base/base_types.hpp"

namespace qmx::numeric {

// A matrix by columns; element (i, j), both from 0, stands at first[i + j * leading].
struct dense_matrix {
    f64* first;
    i64 rows;
    i64 columns;
    i64 leading;

    f64& operator()(i64 i, i64 j) const { return first[i + j * leading]; }
    f64* column(i64 j) const { return first + j * leading; }
};

// Replaces A by its factors A P = Q R: R in and above the diagonal, the vectors of the reflections
// below it, their multipliers in beta [min(rows, columns)]. With order [columns] columns are
// exchanged so that the diagonal of R descends, and order(k) is the column of A that came to stand
// at k; with a null pointer they stay.
void factor(const dense_matrix& a, f64* beta, i32* order);

// v := Q v and v := transposed Q v, for v [rows], with the factors that factor left.
void apply_q(const dense_matrix& factors, const f64* beta, f64* v);
void apply_q_transposed(const dense_matrix& factors, const f64* beta, f64* v);

// Solves R x = b in the leading size rows and columns, b replaced by x; and the same with R
// transposed. The diagonal must not hold a zero.
void solve_r(const dense_matrix& factors, i64 size, f64* b);
void solve_r_transposed(const dense_matrix& factors, i64 size, f64* b);

// Number of leading diagonal elements of R above tolerance times the largest.
i64 rank_of_r(const dense_matrix& factors, f64 tolerance);

} // namespace qmx::numeric
