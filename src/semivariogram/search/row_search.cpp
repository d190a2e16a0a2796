#include "semivariogram/search/row_search.hpp"

#include <algorithm>

namespace qmx {

using namespace pair_kernel;
using namespace ordered_growth;

namespace {

// Rows that go side by side; fewer are done one after the other.
constexpr i64 least_rows = 4;

void search_one(row_sweep& rows, const neighbour_runs& candidates, i64 first, i64 row,
                class_sums& sums) {
    rows.sweep_one(candidates, row, {0, candidates.offset() + (row - first)}, sums);
}

// The rows of one call, each summed in a lane of its own.
struct rows_in_lanes {
    row_sweep& sweeper;
    const sum_joiner& joiner;
    const neighbour_runs& candidates;
    i64 first, end;
    lane_sums& lanes;

    bool sweep() {
        const i32 last_class = sweeper.rules().classes->last;
        std::copy_n(joiner.needs(), columns, lanes.needs);
        for (i32 k = coincident_class; k <= last_class; ++k) {
            if (!joiner.is_wanted(k)) continue;
            lane_sums::of_class& of = lanes.of[k];
            of.count = 0;
            std::fill_n(of.distance, std::size(of.distance), 0.0);
            std::fill_n(of.pooled, std::size(of.pooled), 0.0);
            lanes.power[k] = joiner.power(k, row_sum::squares);
            if (joiner.is_wanted(k, row_sum::squares)) begin_sums(of.squares, lanes.power[k]);
            if (joiner.is_wanted(k, row_sum::next_squares))
                begin_sums(of.next_squares, joiner.power(k, row_sum::next_squares));
            if (joiner.is_wanted(k, row_sum::distances))
                begin_sums(of.ordered_distance, joiner.power(k, row_sum::distances));
        }
        sweeper.sweep(candidates, first, end, lanes);
        return true;
    }
    i64 count(i32 k) const { return lanes.of[k].count; }
    f64 distance(i32 k) const { return total(lanes.of[k].distance); }
    f64 pooled_squares(i32 k) const { return 2 * total(lanes.of[k].pooled); }
    static f64 total(const f64 (&sums)[most_lanes / 2]) {
        f64 total = 0;
        for (const f64 sum : sums) total += sum;
        return total;
    }
    auto growth(row_sum kind, i32 k) const {
        const lane_sums::of_class& of = lanes.of[k];
        const auto& sums = kind == row_sum::squares        ? of.squares
                           : kind == row_sum::next_squares ? of.next_squares
                                                           : of.ordered_distance;
        return [&sums, power = joiner.power(k, kind)](i64 row) {
            return growth_of(sums.even[row], sums.odd[row], power);
        };
    }
    bool redo(i64 row, class_sums& sums) {
        search_one(sweeper, candidates, first, first + row, sums);
        return true;
    }
};

} // namespace

row_search::row_search(row_sweep& rows, class_sums& sums)
    : rows_(rows), sums_(sums), joiner_(rows.rules(), sums) {}

bool row_search::reserve() {
    lanes_ = work_array<lane_sums>(1);
    return static_cast<bool>(lanes_);
}

void row_search::search(const neighbour_runs& candidates, i64 first, i64 end) {
    if (end - first < least_rows) {
        for (i64 row = first; row < end; ++row) search_one(rows_, candidates, first, row, sums_);
        return;
    }
    i64 most_pairs = 0;
    for (i64 s = 0; s < candidates.segments(); ++s)
        most_pairs += 2 * (end - first) * candidates.segment(s).count;
    const lag_classes& classes = *rows_.rules().classes;
    // Squares are likely to grow as by the rows before; distances at most as if all pairs fell into
    // one class.
    joiner_.begin(end - first, [&](i32 k) {
        const class_sums::of_class& sums = sums_.of[k];
        const f64 most = static_cast<f64>(most_pairs) * static_cast<f64>(classes.upper[k]);
        return sum_joiner::expected_sums{sums.distance + most, sums.squares + 1.5 * growth_[k]};
    });
    for (i32 k = coincident_class; k <= classes.last; ++k) growth_[k] = sums_.of[k].squares;
    rows_in_lanes rows = {rows_, joiner_, candidates, first, end, lanes_[0]};
    joiner_.join(rows);
    for (i32 k = coincident_class; k <= classes.last; ++k)
        growth_[k] = sums_.of[k].squares - growth_[k];
}

} // namespace qmx
