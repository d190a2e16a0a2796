#include "base/work_array.hpp"
#include "numeric/polynomial/orthogonal_terms.hpp"

namespace qmx::numeric {

namespace {

struct tracked_row {
    double_double t, before, now, residual; // before: p(k-1), now: p(k)
};

// Sums over the observations for p(k), with r the residual of the fit by the terms below k: a loss
// of orthogonality then does not reach the coefficients.
struct products {
    double_double norm;          // of p(k)^2
    double_double first_moment;  // of t p(k)^2
    double_double with_residual; // of p(k) r
    double_double square;        // of r^2
};

void place(const scaled_rows& rows, tracked_row* all) {
    for (i32 i = 0; i < rows.count; ++i) {
        const double_double offset = exact_sum(rows.x[i], -rows.center);
        all[i].t = offset * double_double{rows.multiplier};
        all[i].before = {};
        all[i].now = {1.0};
        all[i].residual = exact_sum(rows.y[i] * rows.y_factor, -rows.y_origin);
    }
}

// Advances the rows from one term to the next.
void advance(const orthogonal_term& term, tracked_row* all, i32 count) {
    for (i32 i = 0; i < count; ++i) {
        tracked_row& each = all[i];
        each.residual = each.residual - term.coefficient * each.now;
        const double_double next = (each.t - term.shift) * each.now - term.ratio * each.before;
        each.before = each.now;
        each.now = next;
    }
}

products products_of(const tracked_row* all, i32 count) {
    products sums;
    for (i32 i = 0; i < count; ++i) {
        const tracked_row& each = all[i];
        const double_double square = each.now * each.now;
        sums.norm = sums.norm + square;
        sums.first_moment = sums.first_moment + each.t * square;
        sums.with_residual = sums.with_residual + each.now * each.residual;
        sums.square = sums.square + each.residual * each.residual;
    }
    return sums;
}

} // namespace

bool fit_in_pairs(const scaled_rows& rows, i32 degree, fit_outcome& outcome,
                  orthogonal_term* terms) {
    const work_array<tracked_row> all(rows.count);
    if (!all) return false;
    place(rows, all.data());
    double_double explained;
    outcome = {};
    for (i32 k = 0; k <= degree && !outcome.is_perfect; ++k) {
        orthogonal_term& term = terms[k];
        const products sums = products_of(all.data(), rows.count);
        term.norm = sums.norm;
        term.shift = sums.first_moment / sums.norm;
        term.ratio = k > 0 ? sums.norm / terms[k - 1].norm : double_double{};
        term.coefficient = sums.with_residual / sums.norm;
        term.explained = term.coefficient * sums.with_residual;
        if (k == 0)
            outcome.total = sums.square - term.explained;
        else
            explained = explained + term.explained;
        outcome.degree = k;
        outcome.is_perfect = k > 0 && is_perfect_fit(outcome.total, explained);
        advance(term, all.data(), rows.count);
    }
    outcome.error = outcome.total - (outcome.is_perfect ? outcome.total : explained);
    return true;
}

} // namespace qmx::numeric
