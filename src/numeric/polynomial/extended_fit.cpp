#include "base/work_array.hpp"
#include "numeric/polynomial/extended_real.hpp"
#include "numeric/polynomial/orthogonal_terms.hpp"

#include <algorithm>

namespace qmx::numeric {

namespace {

// Relative errors up to here do not show in f64.
constexpr f64 tolerable_loss = 0x1p-56;
// Rows times squared digits that take some seconds.
constexpr i64 most_work = i64{1} << 26;

template <i32 N> struct extended_row {
    using real = extended_real<N>;
    real x, before, now, residual; // before: p(k-1), now: p(k), monic in x itself
};

// Coefficients of one power of x in p(k), in p(k-1) and in the sum so far.
template <i32 N> struct extended_power { extended_real<N> now, before, sum, magnitude; };

// The fit by the same recurrence, of p(k) monic in x, and its expansion into powers of x.
template <i32 N> class extended_fit {
public:
    extended_fit(const scaled_rows& rows, i32 degree)
        : rows_(rows), degree_(degree), all_(rows.count), powers_(i64{degree} + 1) {}

    explicit operator bool() const { return all_ && powers_; }

    void run(fit_outcome& outcome, orthogonal_term* terms) {
        place();
        real explained;
        outcome = {};
        for (i32 k = 0; k <= degree_ && !outcome.is_perfect; ++k) {
            const real before = norm_;
            const real with_residual = sum_products();
            shift_ = first_moment_ / norm_;
            ratio_ = k > 0 ? norm_ / before : real();
            const real coefficient = with_residual / norm_;
            const real gain = coefficient * with_residual;
            if (k == 0)
                total_ = square_ - gain;
            else
                explained = explained + gain;
            store(k, coefficient, gain, terms[k]);
            outcome.degree = k;
            outcome.total = total_.rounded_pair();
            outcome.is_perfect = k > 0 && is_perfect_fit(outcome.total, explained.rounded_pair());
            expand(k, k == 0 ? coefficient + real(rows_.y_origin) : coefficient);
            advance(coefficient);
        }
        outcome.error = outcome.is_perfect ? double_double{} : (total_ - explained).rounded_pair();
    }

    // Coefficients of the powers of x up to the degree reached; sums that cancel to nothing are 0.
    // Returns the amplification of errors in them.
    f64 coefficients(i32 degree, f64* powers) const {
        f64 amplification = 1.0;
        for (i32 j = 0; j <= degree; ++j) {
            const extended_power<N>& power = powers_[j];
            const f64 magnitude = power.magnitude.rounded(), sum = power.sum.rounded();
            const bool is_nothing = std::abs(sum) <= std::ldexp(magnitude, -real::bits / 2);
            powers[j] = is_nothing ? 0.0 : sum;
            if (!is_nothing) amplification = std::max(amplification, magnitude / std::abs(sum));
        }
        return amplification;
    }

private:
    using real = extended_real<N>;

    void place() {
        for (i32 i = 0; i < rows_.count; ++i) {
            extended_row<N>& row = all_[i];
            row = {real(rows_.x[i]), real(), real(1.0),
                   real(rows_.y[i] * rows_.y_factor) - real(rows_.y_origin)};
            square_ = square_ + row.residual * row.residual;
        }
        powers_[0].now = real(1.0);
    }
    // Of the rows for p(k): squared norm and first moment; returns that with the residuals.
    real sum_products() {
        real with_residual;
        norm_ = first_moment_ = real();
        for (const extended_row<N>& row : all_) {
            const real square = row.now * row.now;
            norm_ = norm_ + square;
            first_moment_ = first_moment_ + row.x * square;
            with_residual = with_residual + row.now * row.residual;
        }
        return with_residual;
    }
    void advance(const real& coefficient) {
        for (extended_row<N>& row : all_) {
            row.residual = row.residual - coefficient * row.now;
            const real next = (row.x - shift_) * row.now - ratio_ * row.before;
            row.before = row.now;
            row.now = next;
        }
    }
    void expand(i32 k, const real& coefficient) {
        for (i32 j = 0; j <= k; ++j) {
            extended_power<N>& power = powers_[j];
            const real part = coefficient * power.now;
            power.sum = power.sum + part;
            power.magnitude = power.magnitude + part.magnitude();
        }
        for (i32 j = std::min(k + 1, degree_); j >= 0; --j) {
            extended_power<N>& power = powers_[j];
            real next = -(shift_ * power.now) - ratio_ * power.before;
            if (j > 0) next = next + powers_[j - 1].now;
            power.before = power.now;
            power.now = next;
        }
    }
    // The term in the scaled abscissa t = multiplier (x - center).
    void store(i32 k, const real& coefficient, const real& gain, orthogonal_term& term) const {
        const real multiplier(rows_.multiplier);
        real scale(1.0); // of p(k)
        for (i32 i = 0; i < k; ++i) scale = scale * multiplier;
        term.shift = (multiplier * (shift_ - real(rows_.center))).rounded_pair();
        term.ratio = (multiplier * multiplier * ratio_).rounded_pair();
        term.norm = (scale * scale * norm_).rounded_pair();
        term.coefficient = (coefficient / scale).rounded_pair();
        term.explained = gain.rounded_pair();
    }

    const scaled_rows& rows_;
    i32 degree_;
    work_array<extended_row<N>> all_;
    work_array<extended_power<N>> powers_;
    real norm_, first_moment_, square_, shift_, ratio_, total_;
};

// With N digits, and with twice as many as long as the loss may show.
template <i32 N>
bool fit_with_digits(const scaled_rows& rows, i32 degree, fit_outcome& outcome,
                     orthogonal_term* terms, f64* powers) {
    f64 amplification = 1.0;
    {
        extended_fit<N> fit(rows, degree);
        if (!fit) return false;
        fit.run(outcome, terms);
        amplification = fit.coefficients(outcome.degree, powers);
    }
    constexpr i32 most_digits = 512;
    if constexpr (N < most_digits) {
        const bool is_quick = 4 * i64{N} * N * rows.count <= most_work;
        const f64 loss = loss_of_digits(outcome.degree, terms);
        if (is_quick && shows_loss(loss, amplification, extended_real<N>::bits - 8))
            return fit_with_digits<2 * N>(rows, degree, outcome, terms, powers);
    }
    return true;
}

} // namespace

f64 loss_of_digits(i32 degree, const orthogonal_term* terms) {
    f64 before = 0.0, now = 0.0, step_before = 0.0; // step: ratio of the norms of p(k+1) and p(k)
    for (i32 k = 0; k < degree; ++k) {
        const f64 step = std::sqrt(terms[k + 1].ratio.high);
        const f64 reach = 2.0 + std::abs(terms[k].shift.high); // of |t - shift|
        const f64 next =
            (reach * (2.0 * now + 1.0) + step_before * (now + 2.0 * before + 1.0)) / step;
        before = now;
        now = next;
        step_before = step;
    }
    return now;
}

bool shows_loss(f64 loss, f64 amplification, i32 bits) {
    return !(std::ldexp(loss * amplification, -bits) <= tolerable_loss);
}

bool fit_in_extended_reals(const scaled_rows& rows, i32 degree, fit_outcome& outcome,
                           orthogonal_term* terms, f64* powers) {
    return fit_with_digits<8>(rows, degree, outcome, terms, powers);
}

} // namespace qmx::numeric
