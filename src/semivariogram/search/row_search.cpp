#include "semivariogram/search/row_search.hpp"

#include <algorithm>

namespace qmx {

using namespace pair_kernel;
using namespace ordered_growth;

namespace {

// Rows that go side by side; fewer are done one after the other.
constexpr i64 least_rows = 4;

// Adds rows from row `from` on, as far as they go: to where they stopped.
i64 add_lanes(f64& sum, const two_starts<lanes_of_sums>& lanes, i64 from, i64 rows) {
    const f64 power = power_of(sum);
    return add_rows(sum, from, rows,
                    [&](i64 row) { return growth_of(lanes.even[row], lanes.odd[row], power); });
}

} // namespace

row_search::row_search(row_sweep& rows, class_sums& sums)
    : rules_(rows.rules()), sums_(sums), rows_(rows), last_class_(rules_.classes->last) {
    for (i32 k = coincident_class; k <= last_class_; ++k)
        greatest_exact_[k] = exact_distance_sum(*rules_.classes, k);
}

bool row_search::reserve() {
    lanes_ = work_array<lane_sums>(1);
    return static_cast<bool>(lanes_);
}

void row_search::search(const neighbour_runs& candidates, i64 first, i64 end) {
    if (end - first >= least_rows) {
        search_side_by_side(candidates, first, end);
    } else {
        for (i64 row = first; row < end; ++row) search_one(candidates, first, row, sums_);
    }
}

void row_search::search_one(const neighbour_runs& candidates, i64 first, i64 row,
                            class_sums& sums) {
    rows_.sweep_one(candidates, row, {0, candidates.offset() + (row - first)}, sums);
}

void row_search::search_side_by_side(const neighbour_runs& candidates, i64 first, i64 end) {
    const i64 rows = end - first;
    choose_sums(candidates, rows);
    sweep(candidates, first, end);
    take_in_counts(rows);
    while (!take_in_rows(rows)) {
        for (i64 row = rows - 1; row >= 0; --row) redo(candidates, first, first + row);
        if (!take_in_next(rows)) sweep(candidates, first, end);
    }
    for (i32 k = coincident_class; k <= last_class_; ++k)
        growth_[k] = sums_.of[k].measure - growth_[k];
}

// Which sums of distances may round when the pairs of these rows are added, all in one class; and
// which sums of measures are likely to pass a power of two, going by the rows before.
void row_search::choose_sums(const neighbour_runs& candidates, i64 rows) {
    f64 pairs = 0;
    for (i64 s = 0; s < candidates.segments(); ++s)
        pairs += static_cast<f64>(2 * rows * candidates.segment(s).count);
    for (i32 k = coincident_class; k <= last_class_; ++k) {
        const f64 most = sums_.of[k].distance + pairs * static_cast<f64>(rules_.classes->upper[k]);
        const f64 likely = sums_.of[k].measure + 1.5 * growth_[k];
        std::uint8_t needs = 0;
        if (!(most < greatest_exact_[k])) needs |= ordered_distance;
        if (likely > next_power(sums_.of[k].measure)) needs |= next_measure;
        lanes_[0].needs[k] = needs;
        growth_[k] = sums_.of[k].measure;
    }
}

void row_search::sweep(const neighbour_runs& candidates, i64 first, i64 end) {
    lane_sums& lanes = lanes_[0];
    for (i32 k = coincident_class; k <= last_class_; ++k) {
        if ((lanes.needs[k] & nothing) != 0) continue;
        lanes.of[k].count = 0;
        std::fill_n(lanes.of[k].distance, std::size(lanes.of[k].distance), 0.0);
        begin_sums(lanes.of[k].measure, sums_.of[k].measure);
        next_power_[k] = next_power(sums_.of[k].measure);
        if ((lanes.needs[k] & next_measure) != 0)
            begin_sums(lanes.of[k].next_measure, next_power_[k]);
        if ((lanes.needs[k] & ordered_distance) != 0)
            begin_sums(lanes.of[k].ordered_distance, sums_.of[k].distance);
    }
    rows_.sweep(candidates, first, end, lanes);
}

// Counts, and sums of distances that do not round.
void row_search::take_in_counts(i64 rows) {
    lane_sums& lanes = lanes_[0];
    const i64 times = rules_.twice ? 2 : 1;
    for (i32 k = coincident_class; k <= last_class_; ++k) {
        taken_in_[k] = {rows, rows};
        if (lanes.of[k].count == 0) {
            lanes.needs[k] |= nothing;
            continue;
        }
        const bool is_ordered = (lanes.needs[k] & ordered_distance) != 0;
        taken_in_[k] = {0, is_ordered ? 0 : rows};
        sums_.of[k].count += times * lanes.of[k].count;
        if (is_ordered) continue;
        f64 distance = 0;
        for (const f64 sum : lanes.of[k].distance) distance += sum;
        sums_.of[k].distance += static_cast<f64>(times) * distance;
    }
}

// The other sums, of wanted classes. Returns whether all rows are in.
bool row_search::take_in_rows(i64 rows) {
    const lane_sums& lanes = lanes_[0];
    bool all = true;
    for (i32 k = coincident_class; k <= last_class_; ++k) {
        if ((lanes.needs[k] & nothing) != 0) continue;
        progress& done = taken_in_[k];
        done.measure = add_lanes(sums_.of[k].measure, lanes.of[k].measure, done.measure, rows);
        if (done.distance < rows)
            done.distance =
                add_lanes(sums_.of[k].distance, lanes.of[k].ordered_distance, done.distance, rows);
        all = all && done.measure == rows && done.distance == rows;
    }
    return all;
}

// After a redone row: goes on from the next power of two where that has been provided for. Returns
// whether all rows are in; what is not stays wanted.
bool row_search::take_in_next(i64 rows) {
    lane_sums& lanes = lanes_[0];
    bool all = true;
    for (i32 k = coincident_class; k <= last_class_; ++k) {
        if ((lanes.needs[k] & nothing) != 0) continue;
        progress& done = taken_in_[k];
        if ((lanes.needs[k] & next_measure) != 0 && done.measure < rows &&
            power_of(sums_.of[k].measure) == next_power_[k])
            done.measure =
                add_lanes(sums_.of[k].measure, lanes.of[k].next_measure, done.measure, rows);
        if (done.measure == rows && done.distance == rows) lanes.needs[k] |= nothing;
        all = all && (lanes.needs[k] & nothing) != 0;
    }
    return all;
}

// Takes in one row, pair after pair, where it is the next one of a sum.
void row_search::redo(const neighbour_runs& candidates, i64 first, i64 row) {
    const i64 next = row - first;
    const auto waits = [&](const progress& done) {
        return done.measure == next || done.distance == next;
    };
    progress* const end = taken_in_ + last_class_ + 1;
    if (std::none_of(taken_in_ + coincident_class, end, waits)) return;
    class_sums sums = sums_;
    search_one(candidates, first, row, sums);
    for (i32 k = coincident_class; k <= last_class_; ++k) {
        if (taken_in_[k].measure == next) {
            sums_.of[k].measure = sums.of[k].measure;
            ++taken_in_[k].measure;
        }
        if (taken_in_[k].distance == next) {
            sums_.of[k].distance = sums.of[k].distance;
            ++taken_in_[k].distance;
        }
    }
}

} // namespace qmx
