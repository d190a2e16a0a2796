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
#include "semivariogram/kernel/ordered_growth.hpp"
#include "semivariogram/search/row_sweep.hpp"

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

private:
    using packed_growth = std::uint64_t;
    struct located_row {
        std::uint64_t cells;
        i32 row;
    };
    // Rows of the window that each sum has taken in.
    struct progress {
        i64 measure, distance;
    };

    i64 groups_beside(const neighbour_runs& neighbours, i64 first, i64 end) const;
    bool reserve();
    packed_growth* table(pair_kernel::class_needs which, i32 k) const;
    void choose_sums();
    bool sweep(neighbour_runs& neighbours);
    void sweep_row(const neighbour_runs& neighbours, i32 row, const candidate_place& own);
    void take_in_counts();
    bool take_in_rows(neighbour_runs& neighbours, bool& all);
    bool redo(neighbour_runs& neighbours, i64 row, pair_kernel::class_sums& sums);
    bool redo_rest(neighbour_runs& neighbours);
    bool is_wanted(i32 k) const;

    const pair_kernel::search_rules& rules_;
    const i64 capacity_; // rows
    pair_kernel::class_sums& sums_;
    row_sweep& rows_;
    const i32 last_class_;
    i64 first_ = 0, count_ = 0, located_ = 0; // of the window's rows
    i64 from_ = 0;                            // of them, the first that is still wanted
    i64 groups_ = 0, groups_beside_ = 0;
    f64 power_[pair_kernel::columns] = {}; // that measures were summed from
    f64 next_power_[pair_kernel::columns] = {};
    f64 distance_power_[pair_kernel::columns] = {};
    f64 distance_[pair_kernel::columns] = {}; // sums that did not round, each pair once
    i64 pairs_[pair_kernel::columns] = {};
    progress taken_in_[pair_kernel::columns] = {};
    work_array<pair_kernel::row_sums> row_;
    work_array<located_row> located_rows_;
    work_array<i32> order_;
    work_array<i32> group_end_;
    work_array<packed_growth> growth_;
};

// For tests: windows wherever there can be one, whether they pay or not.
void use_windows_everywhere(bool everywhere);

} // namespace qmx
