#include "numeric/bounded/multistart.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace qmx::numeric {
namespace {

constexpr f64 infinity = std::numeric_limits<f64>::infinity();

constexpr i32 geometric_places = 22; // from the lower bound, of ratio 2
constexpr i32 even_places = 16;
constexpr i64 most_searched_parameters = 8;
constexpr i32 most_minima = 3;   // descended from, for one parameter
constexpr f64 worth_while = 2.0; // greatest sum of squares of a start, relative to the best

// A place as a fraction of the distance of the bounds: geometric from either bound, even between.
f64 part_of_width(i32 place) {
    if (place < geometric_places)
        return std::exp2(static_cast<f64>(place - geometric_places) - 3.0);
    place -= geometric_places;
    if (place < even_places) return 0.125 + 0.8125 * place / even_places;
    place -= even_places;
    constexpr i32 upper_places = places_across - geometric_places - even_places;
    return place == upper_places - 1 ? 1.0 : 1.0 - std::exp2(-4.0 - place);
}

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
    stop_code code = descent_.run(start_norm);
    if (!settings_.search_across_bounds || n_ > most_searched_parameters ||
        code == stop_code::small_residual || code == stop_code::too_many_iterations)
        return code;
    copy_point(work_.current, work_.best);
    for (i64 j = 0; j < n_; ++j) {
        if (work_.is_fixed[j] || std::isinf(limits_.lower[j]) || std::isinf(limits_.upper[j]))
            continue;
        scan(j);
        for (i32 minimum = 0; minimum < most_minima; ++minimum) {
            const i32 place = deepest_minimum(work_.best.x[j], j);
            if (place < 0) break;
            std::copy_n(work_.places + place * n_, n_, work_.current.x);
            model_.evaluate_at(work_.current);
            work_.place_squares[place] = infinity;
            const stop_code found = descent_.run(start_norm);
            const f64 equal = 1.0 + 1e-6;
            const bool ends_better = is_warning(code) && !is_warning(found) &&
                                     work_.current.square <= work_.best.square * equal;
            if (!(work_.current.square < work_.best.square) && !ends_better) continue;
            copy_point(work_.current, work_.best);
            code = found;
        }
    }
    copy_point(work_.best, work_.current);
    return code;
}

// Sets parameter j to each of its places, fits the others there by the linear model, and records
// the points reached.
void multistart::scan(i64 j) {
    work_.is_fixed[j] = true;
    const f64 width = limits_.upper[j] - limits_.lower[j];
    for (i32 place = 0; place < places_across; ++place) {
        point& current = work_.current;
        std::copy_n(work_.best.x, n_, current.x);
        current.x[j] = limits_.lower[j] + width * part_of_width(place);
        round_to_representable(function_, limits_, current.x);
        model_.evaluate_at(current);
        if (!model_.meets_rows(current.x)) current.square = infinity;
        constexpr i32 most_fits = 2;
        for (i32 fit = 0; fit < most_fits && std::isfinite(work_.current.square); ++fit) {
            if (model_.linearise(false)) {
                model_.drop_widened_columns();
                if (!model_.any_column_moves()) break;
                model_.update_scale(true);
                model_.build();
                model_.limit_step(infinity);
                if (!model_.make_trial(false)) break;
                if (!(model_.evaluate_at(work_.trial) < work_.current.square)) break;
                std::swap(work_.current, work_.trial);
            }
        }
        std::copy_n(work_.current.x, n_, work_.places + place * n_);
        work_.place_squares[place] = work_.current.square;
    }
    work_.is_fixed[j] = false;
}

// The place with the smallest sum of squares among the local minima of the profile. A minimum beside
// the value at of parameter j counts only if it is better than the best point. -1: none.
i32 multistart::deepest_minimum(f64 at, i64 j) const {
    const f64* squares = work_.place_squares;
    const auto x_of = [&](i32 place) { return work_.places[place * n_ + j]; };
    i32 deepest = -1;
    for (i32 place = 0; place < places_across; ++place) {
        const f64 square = squares[place];
        const i32 before = std::max(place - 1, 0);
        const i32 after = std::min(place + 1, places_across - 1);
        if (!(square < worth_while * work_.best.square) || squares[before] < square ||
            squares[after] < square)
            continue;
        const bool is_beside = at >= x_of(before) && at <= x_of(after);
        if (is_beside && !(square < work_.best.square)) continue;
        if (deepest < 0 || square < squares[deepest]) deepest = place;
    }
    return deepest;
}

} // namespace qmx::numeric
