// Pairs rows with their candidates: several consecutive rows at once, a lane each, or one row alone.
#pragma once

#include "semivariogram/kernel/pair_kernel.hpp"
#include "semivariogram/search/neighbour_runs.hpp"

#include <bit>

namespace qmx {

class row_sweep {
public:
    // `all` are the points that candidates are gathered from.
    row_sweep(const pair_kernel::search_rules& rules, const pair_kernel::points& all);

    const pair_kernel::search_rules& rules() const { return rules_; }
    i64 most_rows() const { return kernel_.lanes; }        // at once
    bool has_nan(i32 k) const { return rows_.has_nan[k]; } // among the squares of the class so far

    // Pairs rows `first` to `end` - 1 with the candidates gathered for them, the first row in lane 0.
    // The pair of a point with itself is left out.
    void sweep(const neighbour_runs& candidates, i64 first, i64 end, pair_kernel::lane_sums& sums);
    // Pairs one row, whose own point is the candidate at this place, one addition after the other.
    void sweep_one(const neighbour_runs& candidates, i64 row, const candidate_place& own,
                   pair_kernel::class_sums& sums);
    void sweep_one(const neighbour_runs& candidates, i64 row, const candidate_place& own,
                   pair_kernel::row_sums& sums);

private:
    struct heading { // from the first row to the last
        f32 x, y;
    };
    template <class Sweep, class Sums>
    void sweep_alone(Sweep sweep_row, const neighbour_runs& candidates, i64 row,
                     const candidate_place& own, Sums& sums);
    bool is_trimmed(i64 row) const {
        return std::bit_cast<std::uint32_t>(all_.value[row]) == pair_kernel::trimmed_bits;
    }
    void begin_lane(i64 lane, i64 row);
    void sweep_stretches(const candidate_segment& others, i64 from, bool behind_rows, heading rows,
                         pair_kernel::lane_sums& sums);
    void sweep_part(const candidate_segment& others, i64 from, i64 to, bool backwards,
                    pair_kernel::lane_sums& sums);

    const pair_kernel::search_rules& rules_;
    const pair_kernel::points all_;
    const pair_kernel::version& kernel_;
    pair_kernel::row_lanes rows_ = {};
};

} // namespace qmx
