#include "numeric/bounded/householder.hpp"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <utility>

namespace qmx::numeric {
namespace {

// Length of v[from..], scaled against overflow.
f64 length_of(const f64* v, i64 from, i64 rows) {
    f64 largest = 0.0;
    for (i64 i = from; i < rows; ++i) largest = std::max(largest, std::abs(v[i]));
    if (!(largest > 0.0) || std::isinf(largest)) return largest;
    f64 sum = 0.0;
    for (i64 i = from; i < rows; ++i) {
        const f64 part = v[i] / largest;
        sum += part * part;
    }
    return largest * std::sqrt(sum);
}

// v := (I - beta h h') v, where h[k] = 1 and h[k+1..] is stored below the diagonal of column k.
void reflect(const dense_matrix& factors, i64 k, f64 beta, f64* v) {
    const f64* h = factors.column(k);
    f64 product = v[k];
    for (i64 i = k + 1; i < factors.rows; ++i) product += h[i] * v[i];
    product *= beta;
    v[k] -= product;
    for (i64 i = k + 1; i < factors.rows; ++i) v[i] -= product * h[i];
}

void pivot_longest_column(const dense_matrix& a, i64 k, i32* order) {
    i64 longest = k;
    f64 most = -1.0;
    for (i64 j = k; j < a.columns; ++j) {
        const f64 length = length_of(a.column(j), k, a.rows);
        if (length > most) {
            most = length;
            longest = j;
        }
    }
    if (longest == k) return;
    std::swap_ranges(a.column(k), a.column(k) + a.rows, a.column(longest));
    std::swap(order[k], order[longest]);
}

} // namespace

void factor(const dense_matrix& a, f64* beta, i32* order) {
    if (order != nullptr) std::iota(order, order + a.columns, 0);
    const i64 steps = std::min(a.rows, a.columns);
    for (i64 k = 0; k < steps; ++k) {
        if (order != nullptr) pivot_longest_column(a, k, order);
        f64* h = a.column(k);
        const f64 length = length_of(h, k, a.rows);
        beta[k] = 0.0;
        if (!(length > 0.0)) continue;
        const f64 diagonal = h[k] > 0.0 ? -length : length;
        const f64 head = h[k] - diagonal;
        beta[k] = -head / diagonal;
        for (i64 i = k + 1; i < a.rows; ++i) h[i] /= head;
        h[k] = diagonal;
        for (i64 j = k + 1; j < a.columns; ++j) reflect(a, k, beta[k], a.column(j));
    }
}

void apply_q(const dense_matrix& factors, const f64* beta, f64* v) {
    for (i64 k = std::min(factors.rows, factors.columns) - 1; k >= 0; --k)
        reflect(factors, k, beta[k], v);
}

void apply_q_transposed(const dense_matrix& factors, const f64* beta, f64* v) {
    const i64 steps = std::min(factors.rows, factors.columns);
    for (i64 k = 0; k < steps; ++k) reflect(factors, k, beta[k], v);
}

void solve_r(const dense_matrix& factors, i64 size, f64* b) {
    for (i64 i = size - 1; i >= 0; --i) {
        f64 sum = b[i];
        for (i64 j = i + 1; j < size; ++j) sum -= factors(i, j) * b[j];
        b[i] = sum / factors(i, i);
    }
}

void solve_r_transposed(const dense_matrix& factors, i64 size, f64* b) {
    for (i64 i = 0; i < size; ++i) {
        f64 sum = b[i];
        for (i64 j = 0; j < i; ++j) sum -= factors(j, i) * b[j];
        b[i] = sum / factors(i, i);
    }
}

i64 rank_of_r(const dense_matrix& factors, f64 tolerance) {
    const i64 steps = std::min(factors.rows, factors.columns);
    i64 rank = 0;
    while (rank < steps && std::abs(factors(rank, rank)) > tolerance * std::abs(factors(0, 0)))
        ++rank;
    return rank;
}

} // namespace qmx::numeric
