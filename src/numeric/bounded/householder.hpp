// QR factors of a small dense matrix by Householder reflections, with or without column pivoting.
// Called by the constrained step and the local model.
//
// Method: Householder, Unitary triangularization of a nonsymmetric matrix (1958); with column
// pivoting after Businger and Golub, Linear least squares solutions by Householder transformations
// (1965).
#pragma once

#include "base/base_types.hpp"

namespace qmx::numeric {

// A column-major matrix; element (i, j), zero-based, is first[i + j * leading].
struct dense_matrix {
    f64* first;
    i64 rows;
    i64 columns;
    i64 leading;

    f64& operator()(i64 i, i64 j) const { return first[i + j * leading]; }
    f64* column(i64 j) const { return first + j * leading; }
};

// Replaces A by its factors A P = Q R: R in and above the diagonal, the Householder vectors below
// it, their factors in beta [min(rows, columns)]. With order [columns] columns are pivoted so that
// the diagonal of R descends, and order[k] is the original index of column k; null: no pivoting.
void factor(const dense_matrix& a, f64* beta, i32* order);

// v := Q v and v := Q' v, for v [rows], with the output of factor.
void apply_q(const dense_matrix& factors, const f64* beta, f64* v);
void apply_q_transposed(const dense_matrix& factors, const f64* beta, f64* v);

// Solves R x = b and R' x = b in the leading size rows and columns; x replaces b. No diagonal
// element may be zero.
void solve_r(const dense_matrix& factors, i64 size, f64* b);
void solve_r_transposed(const dense_matrix& factors, i64 size, f64* b);

// Number of leading diagonal elements of R above tolerance times the largest.
i64 rank_of_r(const dense_matrix& factors, f64 tolerance);

} // namespace qmx::numeric
