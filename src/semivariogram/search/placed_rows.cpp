#include "semivariogram/search/placed_rows.hpp"

#include <algorithm>
#include <cmath>

namespace qmx {

using namespace pair_kernel;
using namespace ordered_growth;

namespace {

constexpr f64 widest_gap = 0.25;   // between neighbours of a group, times the reach
constexpr f64 widest_group = 0.75; // times the reach
constexpr i64 lanes_to_a_row = 4;  // fewer rows than a share of the lanes are searched alone

template <class Sums> void begin_needed(const sum_joiner& joiner, i32 k, Sums& sums) {
    begin_sums(sums.squares, joiner.power(k, row_sum::squares));
    begin_sums(sums.next_squares, joiner.power(k, row_sum::next_squares));
    begin_sums(sums.ordered_distance, joiner.power(k, row_sum::distances));
}

} // namespace

placed_rows::placed_rows(const search_rules& rules, const points& all, i64 count)
    : rules_(rules), all_(all), points_(count), kernel_(version_in_use()),
      is_possible_(rules.twice && !rules.has_marked && !rules.has_cone && !rules.has_bands) {}

bool placed_rows::plan(i64 first, i64 end, f64 reach) {
    if (!is_built_) {
        lane_sums_ = work_array<lane_sums>(1);
        row_sums_ = work_array<row_sums>(1);
        open_ = work_array<open_pairs>(1);
        candidates_ = work_array<placed_stretches>(1);
        if (!lane_sums_ || !row_sums_ || !open_ || !candidates_) return false;
        if (!places_.build(all_, points_, reach)) return false;
        is_built_ = true;
    }
    if (end - first > located_rows_.size()) {
        located_rows_ = work_array<located_row>(end - first);
        if (!located_rows_) return false;
    }
    places_.forget_before(first);
    located_ = 0;
    for (i64 row = first; row < end; ++row)
        if (places_.rank(row) >= 0)
            located_rows_[located_++] = {places_.rank(row), static_cast<i32>(row)};
    std::sort(located_rows_.begin(), located_rows_.begin() + located_,
              [](const located_row& a, const located_row& b) { return a.rank < b.rank; });
    return true;
}

// Starts the sums of all rows.
void placed_rows::begin(const sum_joiner& joiner) {
    lane_sums& lanes = lane_sums_[0];
    row_sums& row = row_sums_[0];
    std::copy_n(joiner.needs(), columns, lanes.needs);
    std::copy_n(joiner.needs(), columns, row.needs);
    std::fill_n(row.has_needs, columns, false); // also of those that stand for no class
    with_needs_ = 0;
    for (i32 k = coincident_class; k <= rules_.classes->last; ++k) {
        const f64 power = lanes.power[k] = joiner.power(k, row_sum::squares);
        std::fill_n(lanes.of[k].distance, std::size(lanes.of[k].distance), 0.0);
        std::fill_n(lanes.of[k].pooled, std::size(lanes.of[k].pooled), 0.0);
        lanes.of[k].count = 0;
        for (row_sums::pooled_sums& sum : row.pooled[k].sums) sum = {power, 0};
        std::fill_n(row.pooled[k].count, row_sums::turns, 0);
        row.has_needs[k] = joiner.is_wanted(k) && row.needs[k] != 0;
        if (row.has_needs[k]) class_with_needs_[with_needs_++] = k;
    }
    row.any_needs = with_needs_ > 0;
    open_[0].count = 0;
}

// Collects the next rows that lie close together on one strip, from the given one on. Returns where to go
// on.
i64 placed_rows::next_group(i64 at, i64 from) {
    const f64 reach = places_.reach();
    i64 strip = 0, second = at; // where the second row stands
    for (rows_ = 0; at < located_ && rows_ < kernel_.lanes; ++at) {
        const i32 row = located_rows_[at].row;
        if (row < from) continue;
        const points_by_place::position place = places_.position_of(row);
        if (rows_ == 0) {
            least_ = greatest_ = place;
            strip = places_.strip_of(place.across);
        } else if (places_.strip_of(place.across) != strip ||
                   place.along - greatest_.along > widest_gap * reach ||
                   place.along - least_.along > widest_group * reach) {
            break;
        }
        if (rows_ == 1) second = at;
        row_[rows_++] = row;
        greatest_.along = std::max(greatest_.along, place.along);
        least_.across = std::min(least_.across, place.across);
        greatest_.across = std::max(greatest_.across, place.across);
    }
    if (rows_ * lanes_to_a_row < kernel_.lanes && rows_ > 1) {
        at = second;
        rows_ = 1;
        least_ = greatest_ = places_.position_of(row_[0]);
    }
    return at;
}

void placed_rows::begin_group(const sum_joiner& joiner) {
    for (i64 lane = 0; lane < kernel_.lanes; ++lane) {
        const i64 row = row_[std::min(lane, rows_ - 1)];
        lanes_.number[lane] = static_cast<i32>(row);
        if (lane < rows_)
            begin_row(rules_, lanes_, lane, all_.x[row], all_.y[row], all_.value[row]);
        else
            leave_empty(lanes_, lane);
    }
    for (i64 n = 0; n < with_needs_; ++n) {
        const i32 k = class_with_needs_[n];
        if (rows_ > 1)
            begin_needed(joiner, k, lane_sums_[0].of[k]);
        else
            begin_needed(joiner, k, row_sums_[0].of[k]);
    }
}

bool placed_rows::sweep_group() {
    placed_stretches& candidates = candidates_[0];
    candidates.all = places_.from(0);
    candidates.count = 0;
    bool is_settled = true;
    places_.visit_around(least_, greatest_, [&](i64 first, i64 count) {
        candidates.list[candidates.count++] = {first, count};
        if (candidates.count == candidates.most) is_settled = is_settled && sweep_candidates();
    });
    return is_settled && sweep_candidates();
}

// Sweeps the stretches collected so far. False if there are coincident points.
bool placed_rows::sweep_candidates() {
    placed_stretches& candidates = candidates_[0];
    candidates.next = candidates.at = 0;
    for (bool done = false; !done;) {
        done = rows_ > 1
                   ? kernel_.sweep_placed_rows(rules_, lanes_, candidates, lane_sums_[0], open_[0])
                   : kernel_.sweep_placed_row(rules_, lanes_, candidates, row_sums_[0], open_[0]);
        if (open_[0].count > 0 && !settle_open()) return false;
    }
    candidates.count = 0;
    return true;
}

// ---- Pairs whose class depends on the pair before ----------------------------------------------

f32 placed_rows::squared_distance(i64 row, i64 candidate) const {
    const f32 dx = all_.x[candidate] - all_.x[row];
    const f32 dy = all_.y[candidate] - all_.y[row];
    return dx * dx + dy * dy;
}

// The last point before the candidate that is in range of the row, or the row itself.
i64 placed_rows::found_before(i64 row, i64 candidate) const {
    constexpr i64 looks = 4, stretch = 32;
    const f32 limit = rules_.classes->dismxs;
    const i64 nearest = std::max(row, candidate - looks);
    while (--candidate > nearest)
        if (squared_distance(row, candidate) <= limit) return candidate;
    ++candidate;
    while (candidate - row > stretch) {
        i32 found = 0;
        for (i64 t = candidate - stretch; t < candidate; ++t)
            found += static_cast<i32>(squared_distance(row, t) <= limit);
        if (found > 0) break;
        candidate -= stretch;
    }
    do --candidate;
    while (candidate > row && !(squared_distance(row, candidate) <= limit));
    return candidate;
}

// Whether the distance lies so far within its class that after it the search for a distance near a
// border, however it rounds, starts no later than at the class below that border.
bool placed_rows::is_well_inside(f32 h) const {
    constexpr f32 most = 0.499F; // quotients of up to 100 lags round by less than 0.00003
    constexpr f32 shift = key_of_nothing + first_distance_class;
    const f32 lags = h * rules_.inverse_lag;
    return std::fabs(lags - ((lags + shift) - shift)) <= most;
}

// Goes back to a pair whose class is certain, or to the beginning of the row, and forward again.
i32 placed_rows::settled_class(i64 row, i64 candidate, f32 distance) const {
    const lag_classes& classes = *rules_.classes;
    if (const i32 k = certain_class(classes, rules_.certainty, rules_.inverse_lag, distance))
        return k;
    const i64 before = found_before(row, candidate);
    if (before > row && !is_well_inside(distance) &&
        is_well_inside(std::sqrt(squared_distance(row, before)))) {
        const i32 below = truncated(distance * rules_.inverse_lag) + first_distance_class;
        for (i32 k = below; k <= below + 1; ++k)
            if (k <= classes.last && classes.lower[k] <= distance && distance <= classes.upper[k])
                return k;
        return 0;
    }
    last_found last = {0, first_distance_class};
    i64 at = before;
    for (; at > row; at = found_before(row, at)) {
        const f32 h = std::sqrt(squared_distance(row, at));
        last.lastlag = certain_class(classes, rules_.certainty, rules_.inverse_lag, h);
        last.lastdist = h;
        if (last.lastlag != 0) break;
    }
    if (at == row) last = {0, first_distance_class};
    for (++at; at <= before; ++at) {
        if (!(squared_distance(row, at) <= classes.dismxs)) continue;
        const f32 h = std::sqrt(squared_distance(row, at));
        const i32 k = find_lag_class(classes, h, last);
        if (k != 0) last = {h, k};
    }
    return find_lag_class(classes, distance, last);
}

void placed_rows::add_settled(i64 lane, i32 k, f64 distance, f64 square) {
    lane_sums& sums = lane_sums_[0];
    lane_sums::of_class& of = sums.of[k];
    const unsigned needs = sums.needs[k];
    if ((needs & nothing) != 0) return;
    of.count += 2;
    of.distance[0] += distance;
    if ((needs & apart) == 0) of.pooled[0] += (square + sums.power[k]) - sums.power[k];
    const auto add = [&](unsigned need, two_starts<lanes_of_sums>& lanes, two_starts<f64>& row,
                         f64 term) {
        if ((needs & need) == 0) return;
        for (f64* sum :
             {rows_ > 1 ? &lanes.even[lane] : &row.even, rows_ > 1 ? &lanes.odd[lane] : &row.odd}) {
            *sum += term;
            *sum += term;
        }
    };
    separate_sums<f64>& row = row_sums_[0].of[k];
    add(apart, of.squares, row.squares, square);
    add(next_squares, of.next_squares, row.next_squares, square);
    add(ordered_distance, of.ordered_distance, row.ordered_distance, distance);
}

// False if there are coincident points.
bool placed_rows::settle_open() {
    open_pairs& open = open_[0];
    for (i64 n = 0; n < open.count; ++n) {
        const i64 row = row_[open.lane[n]], candidate = open.candidate[n];
        const f32 h = std::sqrt(squared_distance(row, candidate));
        if (h <= epsilon_distance) return false;
        const i32 k = settled_class(row, candidate, h);
        if (k == 0) continue;
        const f32 difference = all_.value[row] - all_.value[candidate];
        add_settled(open.lane[n], k, h, difference * difference);
    }
    open.count = 0;
    return true;
}

// ---- Sums of all rows --------------------------------------------------------------------------

i64 placed_rows::count(i32 k) const {
    i64 count = lane_sums_[0].of[k].count;
    for (const i64 each : row_sums_[0].pooled[k].count) count += each;
    return count;
}

f64 placed_rows::distance(i32 k) const {
    f64 doubled = 0, once = 0;
    for (const row_sums::pooled_sums& each : row_sums_[0].pooled[k].sums) doubled += each.distance;
    for (const f64 each : lane_sums_[0].of[k].distance) once += each;
    return 0.5 * doubled + once;
}

f64 placed_rows::pooled_squares(i32 k) const {
    f64 growth = 0;
    for (const f64 each : lane_sums_[0].of[k].pooled) growth += 2 * each;
    for (const row_sums::pooled_sums& each : row_sums_[0].pooled[k].sums)
        growth += each.squares - lane_sums_[0].power[k];
    return growth;
}

} // namespace qmx
