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
constexpr i32 most_minima = 3;   // descended from, of one scan
constexpr f64 worth_while = 2.0; // greatest sum of squares of a start, relative to the best
constexpr i32 geometric_places = 24, even_places = 8;
constexpr i32 samples_each = 24; // of a box, for each of its sides

// Points of a box that are spread evenly: Halton, Algorithm 247 (1964).
f64 radical_inverse(i32 index, i32 base) {
    f64 part = 1.0, sum = 0.0;
    for (; index > 0; index /= base) {
        part /= base;
        sum += part * (index % base);
    }
    return sum;
}
constexpr i32 primes[] = {2, 3, 5, 7, 11, 13, 17, 19};

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
    model_.is_affine = n_ <= most_searched_parameters && affine_.find();
    if (n_ > most_searched_parameters) std::fill_n(work_.is_affine, n_, false);
    code_ = descent_.run(start_norm);
    if (!settings_.search_across_bounds || n_ > most_searched_parameters ||
        code_ == stop_code::small_residual || explains_all())
        return code_;
    copy_point(work_.current, work_.best);
    if (model_.fits_affine && any_unbounded()) { // nothing below searches as widely there
        go_to_start();
        descend_again(false);
    }
    model_.fits_affine = false;
    constexpr i32 most_rounds = 2;
    for (i32 round = 0; round < most_rounds && !model_.is_affine; ++round) {
        if (!scan_along_start() && !search_box()) break;
    }
    copy_point(work_.best, work_.current);
    return code_;
}

// Descends from the current point and keeps the better end. Noise or a solution at infinity, noted
// by the first descent, does not apply to a point as good where this one ends ordinarily. True if
// the best point improved.
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

// ---- Scans --------------------------------------------------------------------------------------

// Whether what is left of the residuals at the start is too little for a better minimum.
bool multistart::explains_all() const {
    const f64 little = std::max(16.0 * epsilon_of(function_), 1e-8) * start_norm_;
    return work_.current.square <= little * little;
}

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
    return descend_from_minima(n_, scan(n_, powers));
}

// The places of parameter j between its two bounds, ascending, into place_values; their number.
i32 multistart::choose_places(i64 j) {
    const f64 lower = limits_.lower[j], upper = limits_.upper[j], width = upper - lower;
    f64* values = work_.place_values;
    i32 count = 0;
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
    std::sort(values, values + count);
    return count;
}

// Searches between the bounds: one parameter by a scan, several by samples of the box. True if the
// best point improved.
bool multistart::search_box() {
    i64 sides = 0, last = 0;
    for (i64 j = 0; j < n_; ++j) {
        work_.is_scanned[j] = !work_.is_fixed[j] && !work_.is_affine[j] && has_two_bounds(j);
        if (!work_.is_scanned[j]) continue;
        ++sides;
        last = j;
    }
    if (sides == 0) return false;
    if (sides > 1) {
        sample_box(sides);
        return descend_from_samples(
            std::min<i32>(most_places, samples_each * static_cast<i32>(sides)));
    }
    const i32 places = choose_places(last);
    return descend_from_minima(last, scan(last, places));
}

// A place between the bounds: geometric where both are positive.
f64 multistart::place_between(i64 j, f64 part) const {
    const f64 lower = limits_.lower[j], upper = limits_.upper[j];
    return lower > 0.0 ? lower * power(upper / lower, part) : lower + (upper - lower) * part;
}

void multistart::sample_box(i64 sides) {
    const i32 places = std::min<i32>(most_places, samples_each * static_cast<i32>(sides));
    const auto to_sample = [&](i32 place, f64* x) {
        std::copy_n(work_.best.x, n_, x);
        i64 side = 0;
        for (i64 j = 0; j < n_; ++j)
            if (work_.is_scanned[j])
                x[j] = place_between(j, radical_inverse(place + 1, primes[side++]));
    };
    hold_scanned(true);
    for (i32 place = 0; place < places; ++place) {
        to_sample(place, work_.current.x);
        fit_at_place(true);
        record_place(place);
    }
    hold_scanned(false);
}

bool multistart::descend_from_samples(i32 places) {
    bool any = false;
    for (i32 start = 0; start < most_minima; ++start) {
        f64* lowest = std::min_element(work_.place_squares, work_.place_squares + places);
        if (std::isinf(*lowest)) break;
        any = descend_from_place(static_cast<i32>(lowest - work_.place_squares)) || any;
    }
    return any;
}

bool multistart::descend_from_place(i32 place) {
    std::copy_n(work_.places + place * n_, n_, work_.current.x);
    work_.place_squares[place] = infinity;
    return std::isfinite(model_.evaluate_at(work_.current)) && descend_again();
}

bool multistart::descend_from_minima(i64 j, i32 places) {
    bool any = false;
    for (i32 minimum = 0; minimum < most_minima; ++minimum) {
        const i32 place = deepest_minimum(j, places);
        if (place < 0) break;
        any = descend_from_place(place) || any;
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

void multistart::hold_scanned(bool is_held) {
    for (i64 k = 0; k < n_; ++k)
        if (work_.is_scanned[k]) work_.is_fixed[k] = is_held;
}

// Fits the parameters that are not scanned at the current point.
void multistart::fit_at_place(bool others_affine) {
    point& current = work_.current;
    round_to_representable(function_, limits_, current.x);
    current.square = infinity;
    if (!model_.meets_rows(current.x) || !std::isfinite(model_.evaluate_at(current))) return;
    if (limits_.rows.rows == 0 && others_affine)
        current.square = affine_.refit(current);
    else
        fit_others();
}

void multistart::record_place(i32 place) {
    std::copy_n(work_.current.x, n_, work_.places + place * n_);
    work_.place_squares[place] = work_.current.square;
}

// Sets the scanned parameters to each place, fits the others there, and records the points reached;
// between two places, the least of the line between their residuals, which shows a narrow minimum.
// Parameter j takes the place's value; with j = n the start is multiplied by it. Returns the number
// of points.
i32 multistart::scan(i64 j, i32 places) {
    bool others_affine = true;
    for (i64 k = 0; k < n_; ++k)
        others_affine =
            others_affine && (work_.is_scanned[k] || work_.is_affine[k] || work_.is_fixed[k]);
    hold_scanned(true);
    for (i32 place = 0; place < places; ++place) {
        const f64 value = work_.place_values[place];
        f64* x = work_.current.x;
        std::copy_n(j == n_ ? work_.start : work_.best.x, n_, x);
        for (i64 k = 0; k < n_; ++k)
            if (work_.is_scanned[k]) x[k] = j == n_ ? work_.start[k] * value : value;
        fit_at_place(others_affine);
        record_place(2 * place);
        if (place > 0) record_between(2 * place - 1);
        std::swap(work_.previous_f, work_.current.f);
    }
    hold_scanned(false);
    return 2 * places - 1;
}

// The least of the line between the residuals of the last two places, at index between them.
void multistart::record_between(i32 index) {
    const f64* from = work_.previous_f;
    const f64* to = work_.current.f;
    const f64* from_x = work_.places + (index - 1) * n_;
    const f64* to_x = work_.places + (index + 1) * n_;
    work_.place_squares[index] = infinity;
    const f64 before = work_.place_squares[index - 1], after = work_.place_squares[index + 1];
    std::copy_n(to_x, n_, work_.places + index * n_);
    if (std::isinf(before) || std::isinf(after)) return;
    f64 across = 0.0, length = 0.0;
    for (i64 i = 0; i < m_; ++i) {
        across -= from[i] * (to[i] - from[i]);
        length += (to[i] - from[i]) * (to[i] - from[i]);
    }
    const f64 part = length > 0.0 ? across / length : 0.0;
    if (!(part > 0.0 && part < 1.0)) {
        work_.place_squares[index] = std::max(before, after);
        return;
    }
    for (i64 k = 0; k < n_; ++k)
        work_.places[index * n_ + k] = from_x[k] + part * (to_x[k] - from_x[k]);
    work_.place_squares[index] = std::max(0.0, before - part * across);
}

// The place with the smallest sum of squares among the local minima of the profile; not one beside
// the best point, unless it is a point that is better. -1: none.
i32 multistart::deepest_minimum(i64 j, i32 places) const {
    const f64* squares = work_.place_squares;
    const auto x_of = [&](i32 place) { return work_.places[place * n_ + j]; };
    i32 deepest = -1;
    for (i32 place = 0; place < places; ++place) {
        const f64 square = squares[place];
        const i32 before = std::max(place - 1, 0), after = std::min(place + 1, places - 1);
        if (!(square < worth_while * work_.best.square) || squares[before] < square ||
            squares[after] < square)
            continue;
        const bool is_point = place % 2 == 0;
        if (j < n_ && work_.best.x[j] >= x_of(before) && work_.best.x[j] <= x_of(after) &&
            !(is_point && square < work_.best.square))
            continue;
        if (deepest < 0 || square < squares[deepest]) deepest = place;
    }
    return deepest;
}

} // namespace qmx::numeric
