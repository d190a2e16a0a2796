// Rows of a window paired with points in the order of their places (points_by_place.hpp), where no
// order matters: pairs count twice, in every direction, and all values count. Called by the window
// search.
//
// A pair whose class depends on the pair before it is set aside, and that pair looked for in the order
// of the data. Coincident points make longer chains: they end the search.
#pragma once

#include "semivariogram/search/points_by_place.hpp"
#include "semivariogram/search/sum_joiner.hpp"

namespace qmx {

class placed_rows {
public:
    placed_rows(const pair_kernel::search_rules& rules, const pair_kernel::points& all, i64 count);

    // Whether the rules allow it, and no coincident points have been found.
    bool is_possible() const { return is_possible_; }
    // Takes the rows of a window. False when memory ran out.
    bool plan(i64 first, i64 end, f64 reach);

    // Pairs the planned rows from this one on. keep(row, k, kind, growth) takes what a row adds to a class
    // with needs. False if there are coincident points.
    template <class Keep> bool sweep(const sum_joiner& joiner, i64 from, const Keep& keep);
    i64 count(i32 k) const;
    f64 distance(i32 k) const;
    f64 pooled_squares(i32 k) const;

private:
    struct located_row {
        i32 rank, row;
    };
    void begin(const sum_joiner& joiner);
    i64 next_group(i64 at, i64 from);
    void begin_group(const sum_joiner& joiner);
    bool sweep_group();
    bool sweep_candidates();
    bool settle_open();
    f32 squared_distance(i64 row, i64 candidate) const;
    bool is_well_inside(f32 h) const;
    i64 found_before(i64 row, i64 candidate) const;
    i32 settled_class(i64 row, i64 candidate, f32 distance) const;
    void add_settled(i64 lane, i32 k, f64 distance, f64 square);
    template <class Keep> void keep_growth(const sum_joiner& joiner, const Keep& keep) const;

    const pair_kernel::search_rules& rules_;
    const pair_kernel::points all_;
    const i64 points_;
    const pair_kernel::version& kernel_;
    bool is_possible_, is_built_ = false;
    points_by_place places_;
    work_array<located_row> located_rows_;
    i64 located_ = 0;
    // Rows that are searched together: side by side, or one alone.
    i32 row_[pair_kernel::most_lanes] = {};
    i64 rows_ = 0;
    points_by_place::position least_ = {}, greatest_ = {}; // of their places
    pair_kernel::row_lanes lanes_ = {};
    work_array<pair_kernel::lane_sums> lane_sums_;
    work_array<pair_kernel::row_sums> row_sums_;
    work_array<pair_kernel::open_pairs> open_;
    work_array<pair_kernel::placed_stretches> candidates_;
    i32 class_with_needs_[pair_kernel::columns] = {};
    i64 with_needs_ = 0;
};

template <class Keep>
bool placed_rows::sweep(const sum_joiner& joiner, i64 from, const Keep& keep) {
    begin(joiner);
    for (i64 at = next_group(0, from); rows_ > 0; at = next_group(at, from)) {
        begin_group(joiner);
        if (!sweep_group()) return is_possible_ = false;
        keep_growth(joiner, keep);
    }
    return true;
}

template <class Keep>
void placed_rows::keep_growth(const sum_joiner& joiner, const Keep& keep) const {
    using namespace ordered_growth;
    for (i64 n = 0; n < with_needs_; ++n) {
        const i32 k = class_with_needs_[n];
        const auto keep_kind = [&](row_sum kind, const auto& of_lanes, const auto& of_row) {
            if (!joiner.is_wanted(k, kind)) return;
            const f64 power = joiner.power(k, kind);
            for (i64 lane = 0; lane < rows_; ++lane)
                keep(row_[lane], k, kind,
                     rows_ > 1 ? growth_of(of_lanes.even[lane], of_lanes.odd[lane], power)
                               : growth_of(of_row.even, of_row.odd, power));
        };
        const auto& lanes = lane_sums_[0].of[k];
        const auto& row = row_sums_[0].of[k];
        keep_kind(row_sum::squares, lanes.squares, row.squares);
        keep_kind(row_sum::next_squares, lanes.next_squares, row.next_squares);
        keep_kind(row_sum::distances, lanes.ordered_distance, row.ordered_distance);
    }
}

} // namespace qmx
