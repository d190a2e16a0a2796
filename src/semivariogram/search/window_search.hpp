// Sums of pairs for points whose neighbours do not follow them in the data: several rollers that write
// in turn, gridded data by columns, shuffled points. Called by the pair search.
//
// A window of consecutive rows is grouped by place, and each group shares its candidates. What a row
// adds to a class is kept until all groups are done; then the rows are joined in their order. A window
// is short beside the rows before it, so that a sum seldom passes a power of two within it.
//
// Memory: about 8 bytes a point.
#pragma once

#include "base/work_array.hpp"
#include "semivariogram/search/placed_rows.hpp"
#include "semivariogram/search/row_sweep.hpp"
#include "semivariogram/search/sum_joiner.hpp"

namespace qmx {

class window_search {
public:
    // Adds to sums. `count` is the number of all points.
    window_search(row_sweep& rows, const pair_kernel::points& all, i64 count,
                  pair_kernel::class_sums& sums);

    // The number of rows of a window that begins at this one.
    i64 rows_from(i64 first) const;
    // Whether neighbours follow each other so seldom that a window may pay; estimated from the first
    // rows.
    bool is_scattered(const neighbour_runs& neighbours, i64 first, i64 end) const;
    // Groups the rows by place. False when memory ran out.
    bool plan(const neighbour_runs& neighbours, i64 first, i64 end);
    // Whether the groups are at least twice as large as those of consecutive rows.
    bool pays() const;
    // Searches the planned window. The pair of a point with itself is left out. False when memory ran
    // out.
    bool search(neighbour_runs& neighbours);

    // What the joiner asks of the window's rows.
    bool sweep();
    i64 count(i32 k) const;
    f64 distance(i32 k) const;
    f64 pooled_squares(i32 k) const;
    auto growth(row_sum kind, i32 k) const {
        return [rows = table(kind, k)](i64 row) { return ordered_growth::unpacked(rows[row]); };
    }
    bool redo(i64 row, pair_kernel::class_sums& sums);

private:
    using packed_growth = std::uint64_t;
    struct located_row {
        std::uint64_t cells;
        i32 row;
    };

    i64 groups_beside(const neighbour_runs& neighbours, i64 first, i64 end) const;
    bool reserve();
    packed_growth* table(row_sum kind, i32 k) const;
    void plan_groups(const neighbour_runs& neighbours);
    void clear_tables(i64 from);
    void begin_sums_of_rows();
    void sweep_row(i32 row, const candidate_place& own);

    const i32 last_class_;
    const i64 capacity_; // rows
    pair_kernel::class_sums& sums_;
    row_sweep& rows_;
    sum_joiner joiner_;
    placed_rows placed_;
    bool is_placed_ = false;                  // the window is searched by place
    neighbour_runs* neighbours_ = nullptr;    // of the window being searched
    i64 first_ = 0, count_ = 0, located_ = 0; // of its rows
    i64 groups_ = 0, groups_beside_ = 0;
    i32 class_with_needs_[pair_kernel::columns] = {};
    i64 with_needs_ = 0;
    work_array<pair_kernel::row_sums> row_;
    work_array<located_row> located_rows_;
    work_array<i32> order_;
    work_array<i32> group_end_;
    work_array<packed_growth> growth_;
};

// For tests: windows even where they do not pay.
void use_windows_everywhere(bool everywhere);

} // namespace qmx
