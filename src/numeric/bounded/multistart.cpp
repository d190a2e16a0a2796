#include "numeric/bounded/multistart.hpp"

#include "base/elementary_functions.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace qmx::numeric {
namespace {

constexpr f64 infinity = std::numeric_limits<f64>::infinity();

constexpr i64 most_searched_parameters = 8;
constexpr i32 most_minima = 3;   // descended from, for one parameter
constexpr f64 worth_while = 2.0; // greatest sum of squares of a start, relative to the best

constexpr i32 geometric_places = 24, even_places = 8;

bool is_warning(stop_code code) {
    return code == stop_code::far_away || code == stop_code::noise ||
           code == stop_code::too_many_iterations;
}

} // namespace

void multistart::copy_point(const point& from, point& to) const {
    std::copy_n(from.x, n_, to.x);
    std::copy_n(from.f, m_, to.f);
    to.square = from.square;
}

stop_code multistart::run(f64 start_norm) {
    start_norm_ = start_norm;
    std::copy_n(work_.current.x, n_, work_.start);
    const bool is_affine = n_ <= most_searched_parameters && affine_.find();
    if (n_ > most_searched_parameters) std::fill_n(work_.is_affine, n_, false);
    code_ = descent_.run(start_norm);
    if (!settings_.search_across_bounds || n_ > most_searched_parameters ||
        code_ == stop_code::small_residual)
        return code_;
    copy_point(work_.current, work_.best);
    if (model_.fits_affine && any_unbounded()) { // nothing below searches as widely there
        go_to_start();
        descend_again(false);
    }
    model_.fits_affine = false;
    constexpr i32 most_rounds = 2;
    for (i32 round = 0; round < most_rounds && !is_affine; ++round) {
        const bool has_left = leave_saddle();
        const bool has_found = scan_along_start() || scan_all();
        if (!has_left && !has_found) break;
    }
    copy_point(work_.best, work_.current);
    return code_;
}

// Descends from the current point and keeps the better end. Noise or a solution at infinity, noted by
// the first descent, does not apply to a point as good where this one ends ordinarily. True if the
// best point improved.
bool multistart::descend_again(bool may_fit_affine) {
    const stop_code found = descent_.run(start_norm_, may_fit_affine);
    model_.fits_affine = false;
    const f64 before = work_.best.square, reached = work_.current.square;
    const f64 equal = 1.0 + 1e-6;
    const bool is_open = code_ == stop_code::far_away || code_ == stop_code::noise;
    const bool lifts_warning = is_open && !is_warning(found) && reached <= before * equal;
    if (lifts_warning) code_ = found;
    if (!(reached < before) && !lifts_warning) return false;
    copy_point(work_.current, work_.best);
    return reached < 0.999 * before;
}

bool multistart::has_two_bounds(i64 j) const {
    return !std::isinf(limits_.lower[j]) && !std::isinf(limits_.upper[j]);
}

// Evaluates at the best point with parameter j moved; false where that is not possible.
bool multistart::move_from_best(i64 j, f64 to) {
    point& trial = work_.trial;
    std::copy_n(work_.best.x, n_, trial.x);
    trial.x[j] = std::clamp(nearest_parameter(function_, to), limits_.lower[j], limits_.upper[j]);
    return trial.x[j] != work_.best.x[j] && model_.meets_rows(trial.x) &&
           std::isfinite(model_.evaluate_at(trial));
}

// ---- Saddle points ------------------------------------------------------------------------------

// Takes a step of the model with the second-order part by differences, which finds a direction of
// negative curvature where the gradient is zero.
bool multistart::leave_saddle() {
    if (limits_.rows.rows > 0) return false;
    const f64 part = std::sqrt(std::sqrt(epsilon_of(function_)));
    f64* moved = work_.old_jacobian;
    f64* reach = work_.old_step;
    std::fill_n(work_.curvature, n_ * n_, 0.0);
    const f64* best = work_.best.f;
    for (i64 j = 0; j < n_; ++j) {
        const f64 at = work_.best.x[j];
        const f64 step = part * (at != 0.0 ? std::abs(at) : 1.0);
        reach[j] = 0.0;
        if (work_.is_fixed[j] || at - step < limits_.lower[j] || at + step > limits_.upper[j] ||
            !move_from_best(j, at - step))
            continue;
        const f64 back = work_.trial.x[j] - at;
        std::copy_n(work_.trial.f, m_, work_.differences.first);
        if (!move_from_best(j, at + step)) continue;
        reach[j] = work_.trial.x[j] - at;
        std::copy_n(work_.trial.f, m_, moved + j * m_);
        for (i64 i = 0; i < m_; ++i)
            work_.curvature[j + j * n_] += 2.0 * best[i] *
                                           ((work_.trial.f[i] - best[i]) / reach[j] -
                                            (work_.differences.first[i] - best[i]) / back) /
                                           (reach[j] - back);
    }
    for (i64 j = 0; j < n_; ++j)
        for (i64 k = 0; k < j; ++k) {
            if (reach[j] == 0.0 || reach[k] == 0.0) continue;
            std::copy_n(work_.best.x, n_, work_.trial.x);
            work_.trial.x[j] += reach[j];
            work_.trial.x[k] += reach[k];
            if (!std::isfinite(model_.evaluate_at(work_.trial))) continue;
            f64 sum = 0.0;
            for (i64 i = 0; i < m_; ++i)
                sum +=
                    best[i] * (work_.trial.f[i] - moved[i + j * m_] - moved[i + k * m_] + best[i]);
            work_.curvature[j + k * n_] = work_.curvature[k + j * n_] = sum / (reach[j] * reach[k]);
        }
    copy_point(work_.best, work_.current);
    model_.linearise(true);
    if (!model_.any_column_moves()) return false;
    model_.update_scale(true);
    model_.build();
    const f64 size = model_.scaled_size(work_.best.x);
    for (const f64 radius : {0.3 * size, 0.03 * size}) {
        model_.limit_step(radius);
        if (!model_.make_trial(true)) continue;
        if (!(model_.predicted_reduction(true) > 1e-3 * work_.best.square)) return false;
        if (!(model_.evaluate_at(work_.trial) < 0.9999 * work_.best.square)) continue;
        std::swap(work_.current, work_.trial);
        return descend_again();
    }
    return false;
}

// ---- Scans --------------------------------------------------------------------------------------

bool multistart::any_unbounded() const {
    for (i64 j = 0; j < n_; ++j)
        if (!work_.is_fixed[j] && !has_two_bounds(j)) return true;
    return false;
}

void multistart::go_to_start() {
    std::copy_n(work_.start, n_, work_.current.x);
    model_.evaluate_at(work_.current);
}

// Whether the best point lies on a plateau, or where the columns of the Jacobian nearly depend on
// each other.
bool multistart::is_poorly_determined() {
    copy_point(work_.best, work_.current);
    model_.linearise(false);
    model_.update_scale(true);
    model_.build();
    const i64 rows = std::min(m_, n_);
    for (i64 j = 0; j < n_; ++j) {
        if (work_.is_fixed[j]) continue;
        constexpr f64 dependent = 1e-3, little = 1e-3;
        const f64 size = std::max(std::abs(work_.best.x[j]), std::abs(work_.start[j]));
        if (work_.is_widened[j] || j >= rows ||
            !(std::abs(work_.model[j + j * rows]) > dependent) ||
            work_.scale[j] * size <= little * std::sqrt(work_.best.square))
            return true;
    }
    return false;
}

// Multiplies the parameters that no bounds delimit and that are not affine by powers of two, all at
// once: curves of an unknown time scale. True if the best point improved.
bool multistart::scan_along_start() {
    bool any = false;
    for (i64 j = 0; j < n_; ++j) {
        work_.is_scanned[j] = !work_.is_fixed[j] && !work_.is_affine[j] && !has_two_bounds(j) &&
                              work_.start[j] != 0.0;
        any = any || work_.is_scanned[j];
    }
    if (!any || !is_poorly_determined()) return false;
    constexpr i32 powers = 32;
    for (i32 place = 0; place < powers; ++place)
        work_.place_values[place] = std::ldexp(1.0, place - powers / 2);
    scan(n_, powers);
    return descend_from_minima(n_, powers);
}

// The places of parameter j between its two bounds, ascending, into place_values; their number.
i32 multistart::choose_places(i64 j) {
    const f64 lower = limits_.lower[j], upper = limits_.upper[j], width = upper - lower;
    f64* values = work_.place_values;
    i32 count = 0;
    {
        if (lower > 0.0) {
            const f64 ratio = power(upper / lower, 1.0 / (geometric_places - 1));
            for (f64 value = lower; count < geometric_places; value *= ratio)
                values[count++] = std::min(value, upper);
        } else {
            for (; count < geometric_places; ++count) // from either bound
                values[count] =
                    count < geometric_places / 2
                        ? lower + width * std::ldexp(1.0, -4 - 2 * count)
                        : upper - width * std::ldexp(1.0, -4 - 2 * (count - geometric_places / 2));
        }
        for (i32 place = 0; place <= even_places; ++place)
            values[count++] = lower + width * place / even_places;
    }
    std::sort(values, values + count);
    return count;
}

// Scans the parameters one by one. True if the best point improved.
bool multistart::scan_all() {
    bool any = false;
    for (i64 j = 0; j < n_; ++j) {
        if (work_.is_fixed[j] || work_.is_affine[j] || !has_two_bounds(j)) continue;
        const i32 places = choose_places(j);
        std::fill_n(work_.is_scanned, n_, false);
        work_.is_scanned[j] = true;
        scan(j, places);
        any = descend_from_minima(j, places) || any;
    }
    return any;
}

bool multistart::descend_from_minima(i64 j, i32 places) {
    bool any = false;
    for (i32 minimum = 0; minimum < most_minima; ++minimum) {
        const i32 place = deepest_minimum(j, places);
        if (place < 0) break;
        std::copy_n(work_.places + place * n_, n_, work_.current.x);
        model_.evaluate_at(work_.current);
        work_.place_squares[place] = infinity;
        any = descend_again() || any;
    }
    return any;
}

// One step of the linear model in the parameters that are not fixed, if it lowers the sum.
void multistart::fit_others() {
    model_.linearise(false);
    model_.drop_widened_columns();
    if (!model_.any_column_moves()) return;
    model_.update_scale(true);
    model_.build();
    model_.limit_step(infinity);
    if (model_.make_trial(false) && model_.evaluate_at(work_.trial) < work_.current.square)
        std::swap(work_.current, work_.trial);
}

// Sets the scanned parameters to each place, fits the others there, and records the points reached.
// Parameter j takes the place's value; with j = n the start is multiplied by it.
void multistart::scan(i64 j, i32 places) {
    bool others_affine = limits_.rows.rows == 0;
    for (i64 k = 0; k < n_; ++k)
        others_affine =
            others_affine && (work_.is_scanned[k] || work_.is_affine[k] || work_.is_fixed[k]);
    for (i64 k = 0; k < n_; ++k) work_.is_fixed[k] = work_.is_fixed[k] || work_.is_scanned[k];
    for (i32 place = 0; place < places; ++place) {
        point& current = work_.current;
        const f64 value = work_.place_values[place];
        std::copy_n(j == n_ ? work_.start : work_.best.x, n_, current.x);
        for (i64 k = 0; k < n_; ++k)
            if (work_.is_scanned[k]) current.x[k] = j == n_ ? work_.start[k] * value : value;
        round_to_representable(function_, limits_, current.x);
        current.square = infinity;
        if (model_.meets_rows(current.x) && std::isfinite(model_.evaluate_at(current))) {
            if (others_affine)
                current.square = affine_.refit(current);
            else
                fit_others();
        }
        std::copy_n(work_.current.x, n_, work_.places + place * n_);
        work_.place_squares[place] = work_.current.square;
    }
    for (i64 k = 0; k < n_; ++k) work_.is_fixed[k] = work_.is_fixed[k] && !work_.is_scanned[k];
}

// The place with the smallest sum of squares among the local minima of the profile. A minimum beside
// the best point counts only if it is better. -1: none.
i32 multistart::deepest_minimum(i64 j, i32 places) const {
    const f64* squares = work_.place_squares;
    const auto x_of = [&](i32 place) { return work_.places[place * n_ + j]; };
    i32 deepest = -1;
    for (i32 place = 0; place < places; ++place) {
        const f64 square = squares[place];
        const i32 before = std::max(place - 1, 0);
        const i32 after = std::min(place + 1, places - 1);
        if (!(square < worth_while * work_.best.square) || squares[before] < square ||
            squares[after] < square)
            continue;
        if (j < n_) {
            const f64 low = x_of(before), high = x_of(after);
            const f64 at = work_.best.x[j];
            if (at >= low && at <= high && !(square < work_.best.square)) continue;
        }
        if (deepest < 0 || square < squares[deepest]) deepest = place;
    }
    return deepest;
}

} // namespace qmx::numeric
