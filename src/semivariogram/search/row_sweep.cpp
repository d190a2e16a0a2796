#include "semivariogram/search/row_sweep.hpp"

#include <algorithm>

namespace qmx {

using namespace pair_kernel;

namespace {

// Candidates are swept forwards or backwards, whichever goes the way of the rows; so many at a time.
constexpr i64 stretch = 24;
static_assert(stretch > most_lanes); // the rows themselves go forwards

} // namespace

row_sweep::row_sweep(const search_rules& rules, const points& all)
    : rules_(rules), all_(all), kernel_(version_in_use()) {}

void row_sweep::begin_lane(i64 lane, i64 row) {
    begin_row(rules_, rows_, lane, all_.x[row], all_.y[row], all_.value[row]);
}

template <class Sweep, class Sums>
void row_sweep::sweep_alone(Sweep sweep_row, const neighbour_runs& candidates, i64 row,
                            const candidate_place& own, Sums& sums) {
    if (is_trimmed(row)) return;
    begin_lane(0, row);
    for (i64 s = own.segment; s < candidates.segments(); ++s) {
        const candidate_segment& others = candidates.segment(s);
        const i64 from = s == own.segment ? own.offset + 1 : 0;
        sweep_row(rules_, rows_, {others.x, others.y, others.value}, from, others.count, sums);
    }
}

void row_sweep::sweep_one(const neighbour_runs& candidates, i64 row, const candidate_place& own,
                          class_sums& sums) {
    sweep_alone(kernel_.sweep_row, candidates, row, own, sums);
}

void row_sweep::sweep_one(const neighbour_runs& candidates, i64 row, const candidate_place& own,
                          row_sums& sums) {
    sweep_alone(kernel_.sweep_row_apart, candidates, row, own, sums);
}

// Pairs all lanes with candidates `from` to `to` - 1.
void row_sweep::sweep_part(const candidate_segment& others, i64 from, i64 to, bool backwards,
                           lane_sums& sums) {
    kernel_.sweep_rows(rules_, rows_, {others.x + from, others.y + from, others.value + from},
                       1 - kernel_.lanes, to - from, backwards, sums);
}

// Sweeps the candidates of one segment from the given one on. With `behind_rows` the rows themselves stand
// right before it, and each lane begins behind its own.
void row_sweep::sweep_stretches(const candidate_segment& others, i64 from, bool behind_rows,
                                heading rows, lane_sums& sums) {
    // Rollers go up one path and down the next.
    const auto goes_backwards = [&](i64 first) {
        constexpr i64 step = 4; // beyond several passes over one place
        i64 balance = 0;
        for (i64 j = first; j + step < std::min(first + stretch, others.count); j += 2 * step) {
            const f32 along = (others.x[j + step] - others.x[j]) * rows.x +
                              (others.y[j + step] - others.y[j]) * rows.y;
            balance += along < 0 ? 1 : -1;
        }
        return balance > 0;
    };
    for (i64 to; from < others.count; from = to, behind_rows = false) {
        const bool backwards = !behind_rows && goes_backwards(from);
        to = from + stretch;
        while (to < others.count && goes_backwards(to) == backwards) to += stretch;
        to = std::min(to, others.count);
        if (behind_rows)
            kernel_.sweep_rows(rules_, rows_, {others.x, others.y, others.value}, from, to, false,
                               sums);
        else
            sweep_part(others, from, to, backwards, sums);
    }
}

void row_sweep::sweep(const neighbour_runs& candidates, i64 first, i64 end, lane_sums& sums) {
    for (i64 lane = 0; lane < kernel_.lanes; ++lane) {
        if (first + lane < end && !is_trimmed(first + lane))
            begin_lane(lane, first + lane);
        else
            leave_empty(rows_, lane);
    }
    const heading rows = {all_.x[end - 1] - all_.x[first], all_.y[end - 1] - all_.y[first]};
    sweep_stretches(candidates.segment(0), candidates.offset() + 1, true, rows, sums);
    for (i64 s = 1; s < candidates.segments(); ++s)
        sweep_stretches(candidates.segment(s), 0, false, rows, sums);
}

} // namespace qmx
