// Sums of pairs for consecutive rows of the pair search, searched side by side.
//
// Each lane of the kernel takes one row and sums its pairs of a class apart from the others. The sums
// of the rows are then put together in the order of the rows, and the result is that of one addition
// after the other, to the last bit (ordered_growth.hpp).
#pragma once

#include "base/work_array.hpp"
#include "semivariogram/kernel/ordered_growth.hpp"
#include "semivariogram/search/row_sweep.hpp"

namespace qmx {

class row_search {
public:
    // Adds to sums.
    row_search(row_sweep& rows, pair_kernel::class_sums& sums);
    bool reserve(); // false when memory ran out

    // Rows `first` to `end` - 1, with the candidates gathered for them. The pair of a point with
    // itself is left out.
    void search(const neighbour_runs& candidates, i64 first, i64 end);

private:
    // Rows that each sum has taken in, of those searched side by side.
    struct progress {
        i64 measure, distance;
    };

    void search_one(const neighbour_runs& candidates, i64 first, i64 row,
                    pair_kernel::class_sums& sums);
    void search_side_by_side(const neighbour_runs& candidates, i64 first, i64 end);
    void choose_sums(const neighbour_runs& candidates, i64 rows);
    void sweep(const neighbour_runs& candidates, i64 first, i64 end);
    void take_in_counts(i64 rows);
    bool take_in_rows(i64 rows);
    bool take_in_next(i64 rows);
    void redo(const neighbour_runs& candidates, i64 first, i64 row);

    const pair_kernel::search_rules& rules_;
    pair_kernel::class_sums& sums_;
    row_sweep& rows_;
    const i32 last_class_;
    f64 growth_[pair_kernel::columns] = {};         // of the sums of measures by the rows before
    f64 next_power_[pair_kernel::columns] = {};     // that measures were also summed from
    f64 greatest_exact_[pair_kernel::columns] = {}; // sum of distances, in each class
    progress taken_in_[pair_kernel::columns] = {};
    work_array<pair_kernel::lane_sums> lanes_;
};

} // namespace qmx
