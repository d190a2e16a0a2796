#include "numeric/bounded/local_model.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace qmx::numeric {
namespace {

constexpr f64 infinity = std::numeric_limits<f64>::infinity();

using point = solver_storage::point;

} // namespace

f64 local_model::evaluate_at(point& at) {
    at.square = evaluate(function_, residual_scale, at.x, at.f);
    return at.square;
}

bool local_model::meets_rows(const f64* x) const {
    for (i64 i = 0; i < limits_.rows.rows; ++i)
        if (row_violation(limits_, i, x) != 0.0) return false;
    return true;
}

// Differences of affine residuals are exact at any distance: as far as the farther bound, rounding
// matters least.
difference_rule local_model::rule_for(i64 j, bool is_central) const {
    const f64 e = settings_.relative_difference;
    if (!is_affine)
        return {e, is_central ? settings_.central_difference : 0.0, work_.typical[j], 0.0};
    const f64 at = work_.current.x[j];
    const f64 room = std::max(limits_.upper[j] - at, at - limits_.lower[j]);
    return {0.5, 0.0, work_.typical[j], std::isinf(room) ? 0.0 : room};
}

void local_model::linearise(bool is_central) {
    const point& current = work_.current;
    if (function_.jacobian != nullptr)
        function_.jacobian(function_.context, current.x, work_.jacobian);
    for (i64 j = 0; j < n_; ++j) {
        f64* column = work_.jacobian + j * m_;
        work_.is_widened[j] = false;
        if (work_.is_fixed[j]) {
            std::fill_n(column, m_, 0.0);
        } else if (function_.jacobian == nullptr) {
            const difference_rule rule = rule_for(j, is_central);
            const difference_step made =
                difference_column(function_, residual_scale, rule, limits_.lower, limits_.upper,
                                  current.x, current.f, j, column, work_.differences);
            work_.is_widened[j] = made.is_widened;
            work_.difference_lengths[j] = made.length;
        } else {
            for (i64 i = 0; i < m_; ++i) column[i] *= residual_scale;
        }
        // A column that is not finite fixes its parameter.
        if (!std::all_of(column, column + m_, [](f64 value) { return std::isfinite(value); }))
            std::fill_n(column, m_, 0.0);
    }
}

f64 local_model::column_length(i64 j) const {
    const f64* column = work_.jacobian + j * m_;
    f64 sum = 0.0;
    for (i64 i = 0; i < m_; ++i) sum += column[i] * column[i];
    return std::sqrt(sum);
}

bool local_model::any_column_moves() const {
    for (i64 j = 0; j < n_; ++j)
        if (column_length(j) > 0.0) return true;
    return false;
}

void local_model::update_scale(bool is_first) {
    constexpr f64 kept = 0.6;
    for (i64 j = 0; j < n_; ++j) {
        const f64 length = column_length(j);
        const f64 before = is_first ? 0.0 : kept * work_.scale[j];
        work_.scale[j] = std::max(length, before);
    }
}

void local_model::build() {
    const dense_matrix factors{work_.factors, m_, n_, m_};
    for (i64 j = 0; j < n_; ++j) {
        const f64 divisor = divisor_of(j);
        for (i64 i = 0; i < m_; ++i) factors(i, j) = work_.jacobian[i + j * m_] / divisor;
        for (i64 i = 0; i < limits_.rows.rows; ++i)
            work_.scaled_rows[i + j * limits_.rows.rows] = limits_.rows(i, j) / divisor;
    }
    factor(factors, work_.beta, nullptr);
    std::copy_n(work_.current.f, m_, work_.rotated);
    apply_q_transposed(factors, work_.beta, work_.rotated);
    for (i64 j = 0; j < n_; ++j)
        for (i64 i = 0; i < rows_; ++i) work_.model[i + j * rows_] = i <= j ? factors(i, j) : 0.0;
    for (i64 j = 0; j < n_; ++j) {
        f64 sum = 0.0;
        for (i64 i = 0; i < m_; ++i) sum += work_.jacobian[i + j * m_] * work_.current.f[i];
        work_.gradient[j] = sum;
    }
    for (i64 j = 0; j < n_; ++j)
        for (i64 k = 0; k < n_; ++k)
            work_.scaled_curvature[k + j * n_] =
                work_.curvature[k + j * n_] / (divisor_of(j) * divisor_of(k));
}

f64 local_model::farthest_of(i64 j) const {
    const f64 size = std::abs(work_.current.x[j]);
    const f64 rounding = 64.0 * epsilon_of(function_) * work_.largest[j]; // zero below this
    const bool is_open = std::isinf(limits_.lower[j]) || std::isinf(limits_.upper[j]);
    return size > rounding && is_open && !is_affine ? size : infinity;
}

void local_model::limit_step(f64 radius) {
    for (i64 j = 0; j < n_; ++j) {
        const f64 at = work_.current.x[j];
        const bool stays = column_length(j) == 0.0;
        const f64 divisor = divisor_of(j);
        const f64 down = std::min(0.0, limits_.lower[j] - at) * divisor;
        const f64 up = std::max(0.0, limits_.upper[j] - at) * divisor;
        const f64 most = std::min(radius, farthest_of(j) * divisor);
        if (fits_affine && work_.is_affine[j]) { // only a bound that already holds it is kept
            work_.lower[j] = stays || down == 0.0 ? 0.0 : -infinity;
            work_.upper[j] = stays || up == 0.0 ? 0.0 : infinity;
            continue;
        }
        work_.lower[j] = stays ? 0.0 : std::max(-most, down);
        work_.upper[j] = stays ? 0.0 : std::min(most, up);
    }
    for (i64 i = 0; i < limits_.rows.rows; ++i) {
        f64 value = 0.0;
        for (i64 j = 0; j < n_; ++j) value += limits_.rows(i, j) * work_.current.x[j];
        work_.row_lower[i] = std::min(0.0, limits_.row_lower[i] - value);
        work_.row_upper[i] = std::max(0.0, limits_.row_upper[i] - value);
    }
}

model_problem local_model::problem(bool with_curvature) const {
    return {{work_.model, rows_, n_, rows_},
            work_.rotated,
            with_curvature ? work_.scaled_curvature : nullptr,
            work_.lower,
            work_.upper,
            {work_.scaled_rows, limits_.rows.rows, n_, limits_.rows.rows},
            work_.row_lower,
            work_.row_upper};
}

bool local_model::make_trial(bool with_curvature) {
    constrained_step(problem(with_curvature), work_.step, work_.inner);
    unrounded_reduction_ =
        -2.0 * model_change(problem(with_curvature), work_.step, work_.inner.residual);
    const point& current = work_.current;
    for (i64 j = 0; j < n_; ++j) {
        const f64 reach = work_.step[j] / divisor_of(j);
        work_.trial.x[j] = current.x[j] + reach;
        // Exactly onto the bound, which the division may miss by an ulp.
        const f64 scaled_lower = (limits_.lower[j] - current.x[j]) * divisor_of(j);
        const f64 scaled_upper = (limits_.upper[j] - current.x[j]) * divisor_of(j);
        if (reach < 0.0 && work_.step[j] == scaled_lower) work_.trial.x[j] = limits_.lower[j];
        if (reach > 0.0 && work_.step[j] == scaled_upper) work_.trial.x[j] = limits_.upper[j];
    }
    round_to_representable(function_, limits_, work_.trial.x);
    return measure_step();
}

bool local_model::measure_step() {
    bool moves = false;
    for (i64 j = 0; j < n_; ++j) {
        work_.change[j] = work_.trial.x[j] - work_.current.x[j];
        work_.step[j] = work_.change[j] * divisor_of(j);
        moves = moves || work_.change[j] != 0.0;
    }
    return moves;
}

f64 local_model::correct_trial() {
    f64* deviation = work_.differences.first;
    if (std::isinf(work_.trial.square)) return infinity;
    for (i64 i = 0; i < m_; ++i) deviation[i] = work_.trial.f[i] - work_.current.f[i];
    for (i64 j = 0; j < n_; ++j)
        for (i64 i = 0; i < m_; ++i) deviation[i] -= work_.jacobian[i + j * m_] * work_.change[j];
    const dense_matrix factors{work_.factors, m_, n_, m_};
    apply_q_transposed(factors, work_.beta, deviation);
    for (i64 i = 0; i < rows_; ++i) deviation[i] += work_.rotated[i];
    std::copy_n(work_.step, n_, work_.old_step);
    std::copy_n(work_.change, n_, work_.old_change);
    std::swap(work_.trial, work_.corrected);
    std::swap(work_.rotated, deviation);
    const bool moves = make_trial(false);
    std::swap(work_.rotated, deviation);
    if (moves && evaluate_at(work_.trial) < work_.corrected.square) return work_.trial.square;
    std::swap(work_.trial, work_.corrected);
    std::copy_n(work_.old_step, n_, work_.step);
    std::copy_n(work_.old_change, n_, work_.change);
    return work_.trial.square;
}

f64 local_model::predicted_reduction(bool with_curvature) const {
    if (fits_affine) return unrounded_reduction_;
    return -2.0 * model_change(problem(with_curvature), work_.step, work_.inner.residual);
}

void local_model::forget_curvature() {
    std::fill_n(work_.curvature, n_ * n_, 0.0);
    has_curvature_ = false;
}

void local_model::update_curvature() {
    f64* s = work_.change;
    f64* old_image = work_.step;
    f64* gap = work_.lower; // free until the next limit_step
    f64* y = work_.upper;
    f64 sy = 0.0, sz = 0.0, sss = 0.0, length_s = 0.0, length_y = 0.0;
    for (i64 j = 0; j < n_; ++j) {
        old_image[j] = 0.0;
        for (i64 k = 0; k < n_; ++k) old_image[j] += work_.curvature[k + j * n_] * s[k];
        f64 sum = 0.0;
        for (i64 i = 0; i < m_; ++i)
            sum +=
                (work_.jacobian[i + j * m_] - work_.old_jacobian[i + j * m_]) * work_.current.f[i];
        gap[j] = sum;
        y[j] = work_.gradient[j] - work_.old_gradient[j];
        const f64 d = divisor_of(j);
        sy += s[j] * y[j];
        sz += s[j] * gap[j];
        sss += s[j] * old_image[j];
        length_s += s[j] * d * s[j] * d;
        length_y += y[j] / d * (y[j] / d);
    }
    // Over a shorter step the change of a difference quotient is rounding error.
    if (function_.jacobian == nullptr &&
        std::sqrt(length_s) <= settings_.relative_difference * scaled_size(work_.current.x))
        return;
    constexpr f64 nearly_at_right_angles = 1e-8;
    if (!(std::abs(sy) > nearly_at_right_angles * std::sqrt(length_s * length_y))) return;
    const f64 sizing = sss != 0.0 ? std::min(1.0, std::abs(sz / sss)) : 1.0;
    f64 s_gap = 0.0;
    for (i64 j = 0; j < n_; ++j) {
        gap[j] -= sizing * old_image[j];
        s_gap += s[j] * gap[j];
    }
    bool is_finite = true;
    for (i64 j = 0; j < n_; ++j)
        for (i64 k = 0; k < n_; ++k) {
            f64& entry = work_.curvature[k + j * n_];
            entry = sizing * entry + (gap[k] * y[j] + y[k] * gap[j]) / sy -
                    s_gap / sy * (y[k] * y[j] / sy);
            is_finite = is_finite && std::isfinite(entry);
        }
    has_curvature_ = is_finite;
    if (!is_finite) forget_curvature();
}

f64 local_model::scaled_size(const f64* x) const {
    f64 largest = 0.0;
    for (i64 j = 0; j < n_; ++j)
        if (!fits_affine || !work_.is_affine[j])
            largest = std::max(largest, std::abs(x[j]) * work_.scale[j]);
    return largest;
}

f64 local_model::term_size() const {
    f64 sum = 0.0;
    for (i64 j = 0; j < n_; ++j) sum += column_length(j) * std::abs(work_.current.x[j]);
    return sum;
}

f64 local_model::reduction_error(f64 rounding) const {
    if (function_.jacobian != nullptr) return 0.0;
    const dense_matrix r{work_.model, rows_, n_, rows_};
    f64* gradient_error = work_.inner.reduced;
    f64 sum = 0.0;
    for (i64 j = 0; j < n_; ++j) {
        if (!(work_.difference_lengths[j] > 0.0) || column_length(j) == 0.0) continue;
        std::fill_n(gradient_error, n_, 0.0);
        gradient_error[j] = rounding / (work_.difference_lengths[j] * divisor_of(j));
        for (i64 i = 0; i < rows_; ++i) { // R'z = error, as far as R has full rank
            f64 rest = gradient_error[i];
            for (i64 k = 0; k < i; ++k) rest -= r(k, i) * gradient_error[k];
            gradient_error[i] = std::abs(r(i, i)) > epsilon_of(function_) ? rest / r(i, i) : 0.0;
            sum += gradient_error[i] * gradient_error[i];
        }
    }
    return sum * work_.current.square;
}

bool local_model::drop_widened_columns() {
    bool any = false;
    for (i64 j = 0; j < n_; ++j) {
        if (!work_.is_widened[j]) continue;
        std::fill_n(work_.jacobian + j * m_, m_, 0.0);
        work_.is_widened[j] = false;
        any = true;
    }
    return any;
}

} // namespace qmx::numeric
