#include "numeric/bounded/affine_parameters.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

namespace qmx::numeric {
namespace {

using point = solver_storage::point;

// Rounding errors of a residual, in units of the machine epsilon of the largest term.
constexpr f64 rounding_errors = 16.0;

f64 largest_of(const f64* values, i64 count, f64 largest) {
    for (i64 i = 0; i < count; ++i) largest = std::max(largest, std::abs(values[i]));
    return largest;
}

} // namespace

bool affine_parameters::find() {
    bool is_all = true, is_any = false;
    for (i64 j = 0; j < n_; ++j) {
        work_.is_affine[j] = !work_.is_fixed[j] && is_affine(j);
        is_all = is_all && (work_.is_fixed[j] || work_.is_affine[j]);
        is_any = is_any || work_.is_affine[j];
    }
    if (is_any && is_affine_together()) return is_all;
    std::fill_n(work_.is_affine, n_, false);
    return false;
}

// Evaluates trial: current with parameter j moved. False where there is no such feasible point.
bool affine_parameters::evaluate_moved(i64 j, f64 to) {
    point& trial = work_.trial;
    std::copy_n(work_.current.x, n_, trial.x);
    trial.x[j] = std::clamp(nearest_parameter(function_, to), limits_.lower[j], limits_.upper[j]);
    return trial.x[j] != work_.current.x[j] && model_.meets_rows(trial.x) &&
           std::isfinite(model_.evaluate_at(trial));
}

// A change that rounding could hide tells nothing, so that it counts as not affine. Leaves the far
// value in far_x and the residuals' change there in column j of old_jacobian.
bool affine_parameters::is_affine(i64 j) {
    const f64 at = work_.current.x[j];
    const f64 size = at != 0.0 ? std::abs(at) : 1.0;
    f64 low = std::isinf(limits_.lower[j]) ? at - size : limits_.lower[j];
    f64 high = std::isinf(limits_.upper[j]) ? at + size : limits_.upper[j];
    const f64 middle = low + 0.25 * (high - low);
    if (at <= low) low = middle;
    if (at >= high) high = middle;
    f64* change = work_.old_jacobian + j * m_;
    if (!evaluate_moved(j, low)) return false;
    const f64 first = work_.trial.x[j] - at;
    f64 largest = largest_of(work_.trial.f, m_, 1.0);
    for (i64 i = 0; i < m_; ++i) change[i] = work_.trial.f[i] - work_.current.f[i];
    if (!evaluate_moved(j, high)) return false;
    largest = largest_of(work_.trial.f, m_, largest);
    work_.far_x[j] = work_.trial.x[j];
    const f64 ratio = first / (work_.trial.x[j] - at);
    const f64 tolerance = rounding_errors * epsilon_of(function_) * largest;
    bool is_straight = true;
    for (i64 i = 0; i < m_; ++i) {
        const f64 to_high = work_.trial.f[i] - work_.current.f[i];
        is_straight = is_straight &&
                      std::abs(change[i] - to_high * ratio) <= tolerance * (1.0 + std::abs(ratio));
        change[i] = to_high;
    }
    constexpr f64 significant = 64.0;
    return is_straight && largest_of(change, m_, 0.0) > significant * tolerance;
}

bool affine_parameters::is_affine_together() {
    point& trial = work_.trial;
    for (i64 j = 0; j < n_; ++j)
        trial.x[j] = work_.is_affine[j] ? work_.far_x[j] : work_.current.x[j];
    if (!model_.meets_rows(trial.x) || !std::isfinite(model_.evaluate_at(trial))) return false;
    for (i64 i = 0; i < m_; ++i) {
        f64 sum = work_.current.f[i], size = std::max(1.0, std::abs(sum));
        for (i64 j = 0; j < n_; ++j) {
            if (!work_.is_affine[j]) continue;
            sum += work_.old_jacobian[i + j * m_];
            size += std::abs(work_.old_jacobian[i + j * m_]);
        }
        if (!(std::abs(sum - trial.f[i]) <= rounding_errors * epsilon_of(function_) * size))
            return false;
    }
    return true;
}

// The exact derivative, by a difference as far as the farther bound so that rounding matters least.
// Returns the column's length.
f64 affine_parameters::difference(point& at, i64 j, f64* column) {
    const f64 from = at.x[j];
    const f64 up = limits_.upper[j] - from, down = from - limits_.lower[j];
    const f64 size = from != 0.0 ? std::abs(from) : 1.0;
    f64 to = up >= down ? limits_.upper[j] : limits_.lower[j];
    if (std::isinf(to)) to = up >= down ? from + size : from - size;
    at.x[j] = std::clamp(nearest_parameter(function_, to), limits_.lower[j], limits_.upper[j]);
    const f64 distance = at.x[j] - from;
    const f64 square = evaluate(function_, model_.residual_scale, at.x, column);
    at.x[j] = from;
    f64 sum = 0.0;
    for (i64 i = 0; i < m_; ++i) {
        column[i] = (column[i] - at.f[i]) / distance;
        sum += column[i] * column[i];
    }
    if (distance != 0.0 && std::isfinite(square) && std::isfinite(sum)) return std::sqrt(sum);
    std::fill_n(column, m_, 0.0);
    return 0.0;
}

f64 affine_parameters::refit(point& at) {
    const dense_matrix factors{work_.factors, m_, n_, m_};
    for (i64 j = 0; j < n_; ++j) {
        f64* column = factors.column(j);
        std::fill_n(column, m_, 0.0);
        work_.lower[j] = work_.upper[j] = 0.0;
        work_.divisors[j] = 1.0;
        if (!work_.is_affine[j] || work_.is_fixed[j]) continue;
        const f64 length = difference(at, j, column);
        if (!(length > 0.0)) continue;
        work_.divisors[j] = length;
        for (i64 i = 0; i < m_; ++i) column[i] /= length;
        work_.lower[j] = (limits_.lower[j] - at.x[j]) * length;
        work_.upper[j] = (limits_.upper[j] - at.x[j]) * length;
    }
    factor(factors, work_.beta, nullptr);
    std::copy_n(at.f, m_, work_.rotated);
    apply_q_transposed(factors, work_.beta, work_.rotated);
    const i64 rows = std::min(m_, n_);
    for (i64 j = 0; j < n_; ++j)
        for (i64 i = 0; i < rows; ++i) work_.model[i + j * rows] = i <= j ? factors(i, j) : 0.0;
    const model_problem problem{
        {work_.model, rows, n_, rows}, work_.rotated, nullptr, work_.lower, work_.upper,
        {nullptr, 0, n_, 0},           nullptr,       nullptr};
    constrained_step(problem, work_.step, work_.inner);
    const f64 change = 2.0 * model_change(problem, work_.step, work_.inner.residual);
    for (i64 i = 0; i < rows; ++i)
        for (i64 j = i; j < n_; ++j) work_.rotated[i] += factors(i, j) * work_.step[j];
    std::copy_n(work_.rotated, m_, at.f);
    apply_q(factors, work_.beta, at.f);
    for (i64 j = 0; j < n_; ++j) at.x[j] += work_.step[j] / work_.divisors[j];
    round_to_representable(function_, limits_, at.x);
    return std::max(0.0, at.square + change);
}

} // namespace qmx::numeric
