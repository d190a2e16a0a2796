// Sums of pairs for consecutive rows of the pair search, searched side by side: each lane of the kernel
// takes one row and sums its pairs apart from the others.
#pragma once

#include "base/work_array.hpp"
#include "semivariogram/search/row_sweep.hpp"
#include "semivariogram/search/sum_joiner.hpp"

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
    row_sweep& rows_;
    pair_kernel::class_sums& sums_;
    sum_joiner joiner_;
    f64 growth_[pair_kernel::columns] = {}; // of the sums of squares, by the last rows
    work_array<pair_kernel::lane_sums> lanes_;
};

} // namespace qmx
