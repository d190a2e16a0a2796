// Sums of pairs for rows whose neighbours do not stand beside them in the data: several rollers that
// write in turn, columns of cells, shuffled points.
//
// A window of consecutive rows is put into groups by place, and each group shares its candidates. What
// a row adds to a class is kept, as growth from an even and from an odd sum (ordered_growth.hpp), until
// all groups are through; then the rows are joined in their order. A window is short enough, beside the
// rows before it, for the sums to pass a power of two rarely.
//
// Memory: about 8 bytes a point.
#pragma once

#include "base/work_array.hpp"
#include "semivariogram/search/row_sweep.hpp"
#include "semivariogram/search/sum_joiner.hpp"

namespace qmx {

class window_search {
public:
    // Adds to sums. `count` is the number of all points.
    window_search(row_sweep& rows, i64 count, pair_kernel::class_sums& sums);

    // How many rows make a window that begins at this one.
    i64 rows_from(i64 first) const;
    // Whether so few of these rows, going by the first, have their neighbours beside them that a window
    // may pay.
    bool is_scattered(const neighbour_runs& neighbours, i64 first, i64 end) const;
    // Puts the rows into groups. False when memory ran out.
    bool plan(const neighbour_runs& neighbours, i64 first, i64 end);
    // Whether the planned groups are twice as large as those of rows beside each other.
    bool pays() const;
    // Searches the window that was planned. The pair of a point with itself is left out. False when
    // memory ran out.
    bool search(neighbour_runs& neighbours);
    i64 located() const { return located_; } // rows with a finite position

    // What the joiner asks of the window's rows.
    bool sweep();
    i64 pairs(i32 k) const { return pairs_[k]; }
    f64 distance(i32 k) const { return distance_[k]; }
    ordered_growth::row_growth growth(row_sum kind, i32 k, i64 row) const {
        return ordered_growth::unpacked(table(kind, k)[row]);
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
    void sweep_row(i32 row, const candidate_place& own);

    const i32 last_class_;
    const i64 capacity_; // rows
    pair_kernel::class_sums& sums_;
    row_sweep& rows_;
    sum_joiner joiner_;
    neighbour_runs* neighbours_ = nullptr;    // of the window being searched
    i64 first_ = 0, count_ = 0, located_ = 0; // of its rows
    i64 groups_ = 0, groups_beside_ = 0;
    f64 distance_[pair_kernel::columns] = {}; // sums of the window, each pair once
    i64 pairs_[pair_kernel::columns] = {};
    work_array<pair_kernel::row_sums> row_ = work_array<pair_kernel::row_sums>(0);
    work_array<located_row> located_rows_ = work_array<located_row>(0);
    work_array<i32> order_ = work_array<i32>(0);
    work_array<i32> group_end_ = work_array<i32>(0);
    work_array<packed_growth> growth_ = work_array<packed_growth>(0);
};

// For tests: windows wherever there can be one, whether they pay or not.
void use_windows_everywhere(bool everywhere);

} // namespace qmx
