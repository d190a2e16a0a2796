// Sums of pairs for consecutive rows of the pair search, searched side by side.
//
// Each lane of the kernel takes one row and sums its pairs of a class apart from the others. The sums
// of the rows are then put together in the order of the rows, and the result is that of one addition
// after the other, to the last bit. Two facts make it so:
//
// Distances of one class share a narrow range. As f32 they are multiples of one small unit, and as
// long as 2^53 of it are not reached no addition of f64 rounds: they may be added in any order.
//
// Measures differ more, and their additions round. Take a sum S of them between 2^e and 2^(e+1),
// whose last bit counts 2^(e-52) = u. As long as it stays below 2^(e+1), S + m is S plus m rounded to
// a multiple of u, except that a tie goes to the even multiple. What S grows by therefore depends on
// nothing but the parity of S / u: a row summed twice, from 2^e and from 2^e + u, tells its growth in
// either case. Where a row carries the sum to 2^(e+1) it is done one pair after the other, and the
// rows behind it again from 2^(e+1).
#pragma once

#include "frame/work_array.hpp"
#include "semivariogram/neighbour_runs.hpp"
#include "semivariogram/pair_kernel.hpp"

namespace qmx {

class row_search {
public:
    // Adds to sums. `all` are the points that candidates are gathered from.
    row_search(const pair_kernel::search_rules& rules, const pair_kernel::points& all,
               pair_kernel::class_sums& sums);
    bool reserve(); // false when memory ran out

    i64 most_rows() const { return kernel_.lanes; } // at once
    // Rows `first` to `end` - 1, with the candidates gathered for them. The pair of a point with
    // itself is left out.
    void search(const neighbour_runs& candidates, i64 first, i64 end);

private:
    // Rows that each sum has taken in, of those searched side by side.
    struct progress {
        i64 measure, distance;
    };

    void begin_lane(i64 lane, i64 row);
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
    const pair_kernel::points all_;
    pair_kernel::class_sums& sums_;
    const pair_kernel::version& kernel_;
    const i32 last_class_;
    f64 growth_[pair_kernel::columns] = {};         // of the sums of measures by the rows before
    f64 next_power_[pair_kernel::columns] = {};     // that measures were also summed from
    f64 greatest_exact_[pair_kernel::columns] = {}; // sum of distances, in each class
    progress taken_in_[pair_kernel::columns] = {};
    pair_kernel::row_lanes rows_ = {};
    work_array<pair_kernel::lane_sums> lanes_ = work_array<pair_kernel::lane_sums>(0);
};

} // namespace qmx
