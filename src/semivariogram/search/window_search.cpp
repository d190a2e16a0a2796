#include "semivariogram/search/window_search.hpp"

#include <algorithm>

namespace qmx {

using namespace pair_kernel;
using namespace ordered_growth;

namespace {

constexpr i64 bytes_for_a_point = 8; // for the growth that is kept
constexpr i64 kinds_of_sums = 3; // measures, those from the next power of two, ordered distances
constexpr i64 least_rows = 64;   // of a window
constexpr i64 rows_before = 4;   // for each row of a window, so that sums grow by a fraction
constexpr i64 most_sweeps = 4;   // then rows are done one after the other

bool windows_are_everywhere = false;

i64 capacity_for(i64 points, i32 last_class) {
    const i64 row = kinds_of_sums * (last_class + 1) * i64{sizeof(std::uint64_t)};
    return std::max(least_rows, bytes_for_a_point * points / row);
}

} // namespace

void use_windows_everywhere(bool everywhere) {
    windows_are_everywhere = everywhere;
}

window_search::window_search(row_sweep& rows, i64 count, class_sums& sums)
    : rules_(rows.rules()), capacity_(capacity_for(count, rules_.classes->last)), sums_(sums),
      rows_(rows), last_class_(rules_.classes->last) {}

i64 window_search::rows_from(i64 first) const {
    return std::clamp(first / rows_before, least_rows, capacity_);
}

i64 window_search::groups_beside(const neighbour_runs& neighbours, i64 first, i64 end) const {
    i64 groups = 0;
    for (; first < end; ++groups)
        first = std::max(first + 1, neighbours.end_of_group(first, rows_.most_rows()));
    return groups;
}

bool window_search::is_scattered(const neighbour_runs& neighbours, i64 first, i64 end) const {
    if (windows_are_everywhere) return first > 0;
    // Before the first window sums grow too fast.
    if (first < rows_before * least_rows || neighbours.are_few_left(first)) return false;
    const i64 sample = std::min(end - first, least_rows);
    return rows_.most_rows() * groups_beside(neighbours, first, first + sample) > 3 * sample;
}

bool window_search::pays() const {
    return windows_are_everywhere || 2 * groups_ <= groups_beside_;
}

bool window_search::reserve() {
    if (growth_.size() > 0) return true;
    row_ = work_array<row_sums>(1);
    located_rows_ = work_array<located_row>(capacity_);
    order_ = work_array<i32>(capacity_);
    group_end_ = work_array<i32>(capacity_);
    growth_ = work_array<packed_growth>(kinds_of_sums * (last_class_ + 1) * capacity_);
    return row_ && located_rows_ && order_ && group_end_ && growth_;
}

bool window_search::plan(const neighbour_runs& neighbours, i64 first, i64 end) {
    if (!reserve()) return false;
    first_ = first;
    count_ = end - first;
    groups_beside_ = groups_beside(neighbours, first, end);
    // Two cells of a row of cells go together.
    located_ = 0;
    for (i64 row = first; row < end; ++row) {
        const std::uint64_t cell = neighbours.cell_of(row);
        if (cell != neighbour_runs::nowhere)
            located_rows_[located_++] = {cell >> 1, static_cast<i32>(row)};
    }
    std::sort(located_rows_.begin(), located_rows_.begin() + located_,
              [](const located_row& a, const located_row& b) {
                  return a.cells != b.cells ? a.cells < b.cells : a.row < b.row;
              });
    for (i64 at = 0; at < located_; ++at) order_[at] = located_rows_[at].row;
    groups_ = 0;
    for (i64 at = 0; at < located_; at = group_end_[groups_++]) {
        i32* const rows = order_.data() + at;
        const i64 close =
            neighbours.close_together(rows, located_ - at, neighbour_runs::most_places);
        std::sort(rows, rows + close);
        group_end_[groups_] = static_cast<i32>(at + close);
    }
    return true;
}

window_search::packed_growth* window_search::table(class_needs which, i32 k) const {
    const i64 kind = which == next_measure ? 1 : which == ordered_distance ? 2 : 0;
    return growth_.data() + (kind * (last_class_ + 1) + k) * capacity_;
}

bool window_search::is_wanted(i32 k) const {
    return (row_[0].needs[k] & nothing) == 0;
}

bool window_search::search(neighbour_runs& neighbours) {
    choose_sums();
    from_ = 0;
    if (!sweep(neighbours)) return false;
    take_in_counts();
    for (i64 sweeps = 1;; ++sweeps) {
        bool all = true;
        if (!take_in_rows(neighbours, all)) return false;
        if (all) return true;
        if (sweeps == most_sweeps) return redo_rest(neighbours);
        if (!sweep(neighbours)) return false;
    }
}

// Which sums are likely to pass a power of two, or to round, going by the rows before the window.
void window_search::choose_sums() {
    const f64 factor = 1.0 + 1.5 * static_cast<f64>(count_) / static_cast<f64>(first_);
    for (i32 k = coincident_class; k <= last_class_; ++k) {
        const class_sums::of_class& sums = sums_.of[k];
        std::uint8_t needs = 0;
        if (!(sums.distance * factor < exact_distance_sum(*rules_.classes, k)))
            needs |= ordered_distance;
        if (sums.measure * factor > next_power(sums.measure)) needs |= next_measure;
        row_[0].needs[k] = needs;
        taken_in_[k] = {0, 0};
        pairs_[k] = 0;
        distance_[k] = 0;
    }
}

// Finds the growth of wanted classes by the rows from from_ on.
bool window_search::sweep(neighbour_runs& neighbours) {
    for (i32 k = coincident_class; k <= last_class_; ++k) {
        if (!is_wanted(k)) continue;
        power_[k] = power_of(sums_.of[k].measure);
        next_power_[k] = next_power(sums_.of[k].measure);
        distance_power_[k] = power_of(sums_.of[k].distance);
        for (const class_needs which : {nothing, next_measure, ordered_distance})
            if (which == nothing || (row_[0].needs[k] & which) != 0)
                std::fill(table(which, k) + from_, table(which, k) + count_, no_growth);
    }
    for (i64 group = 0, at = 0; group < groups_; at = group_end_[group++]) {
        const i32* const end = order_.data() + group_end_[group];
        const i32* const group_rows = order_.data() + at;
        const i32* const rows = std::lower_bound(group_rows, end, static_cast<i32>(first_ + from_));
        if (rows == end) continue;
        if (!neighbours.gather_for(rows, end - rows)) return false;
        for (const i32* row = rows; row != end; ++row)
            sweep_row(neighbours, *row, neighbours.place(row - rows));
    }
    return true;
}

void window_search::sweep_row(const neighbour_runs& neighbours, i32 row,
                              const candidate_place& own) {
    row_sums& sums = row_[0];
    for (i32 k = coincident_class; k <= last_class_; ++k) {
        row_sums::of_class& of = sums.of[k];
        of.count = 0;
        of.distance = 0;
        begin_sums(of.measure, power_[k]);
        begin_sums(of.next_measure, next_power_[k]);
        begin_sums(of.ordered_distance, distance_power_[k]);
    }
    rows_.sweep_one(neighbours, row, own, sums);
    for (i32 k = coincident_class; k <= last_class_; ++k) {
        const row_sums::of_class& of = sums.of[k];
        if (of.count == 0) continue;
        pairs_[k] += of.count;
        distance_[k] += of.distance;
        const auto keep = [&](class_needs which, const two_starts<f64>& sum, f64 power) {
            table(which, k)[row - first_] = packed(growth_of(sum.even, sum.odd, power));
        };
        keep(nothing, of.measure, power_[k]);
        if ((sums.needs[k] & next_measure) != 0)
            keep(next_measure, of.next_measure, next_power_[k]);
        if ((sums.needs[k] & ordered_distance) != 0)
            keep(ordered_distance, of.ordered_distance, distance_power_[k]);
    }
}

// Counts, and sums of distances that have not rounded.
void window_search::take_in_counts() {
    const i64 times = rules_.twice ? 2 : 1;
    for (i32 k = coincident_class; k <= last_class_; ++k) {
        sums_.of[k].count += times * pairs_[k];
        if (pairs_[k] == 0) {
            row_[0].needs[k] |= nothing;
            continue;
        }
        if ((row_[0].needs[k] & ordered_distance) != 0) continue;
        const f64 most = sums_.of[k].distance + static_cast<f64>(times * pairs_[k]) *
                                                    static_cast<f64>(rules_.classes->upper[k]);
        if (most < exact_distance_sum(*rules_.classes, k)) {
            sums_.of[k].distance += static_cast<f64>(times) * distance_[k];
            taken_in_[k].distance = count_;
        }
    }
}

// Takes rows into the sums of wanted classes, each as far as its growth is known. Tells whether these
// were all rows, and otherwise what the next sweep has to find. False when memory ran out.
bool window_search::take_in_rows(neighbour_runs& neighbours, bool& all) {
    from_ = count_;
    for (i32 k = coincident_class; k <= last_class_; ++k) {
        if (!is_wanted(k)) continue;
        class_sums::of_class& sums = sums_.of[k];
        std::uint8_t& needs = row_[0].needs[k];
        progress& done = taken_in_[k];
        const auto take = [&](f64& sum, i64& row, class_needs which) {
            const packed_growth* const growth = table(which, k);
            row = add_rows(sum, row, count_, [&](i64 t) { return unpacked(growth[t]); });
        };
        class_sums redone;
        while (done.measure < count_) {
            const f64 power = power_of(sums.measure);
            if (power == power_[k])
                take(sums.measure, done.measure, nothing);
            else if ((needs & next_measure) != 0 && power == next_power_[k])
                take(sums.measure, done.measure, next_measure);
            else
                break;
            if (done.measure == count_) break;
            if (!redo(neighbours, done.measure++, redone)) return false;
            sums.measure = redone.of[k].measure;
        }
        while (done.distance < count_ && (needs & ordered_distance) != 0 &&
               power_of(sums.distance) == distance_power_[k]) {
            take(sums.distance, done.distance, ordered_distance);
            if (done.distance == count_) break;
            if (!redo(neighbours, done.distance++, redone)) return false;
            sums.distance = redone.of[k].distance;
        }
        needs = done.distance < count_ ? ordered_distance : 0;
        if (done.measure == count_ && done.distance == count_) needs = nothing;
        from_ = std::min({from_, done.measure, done.distance});
    }
    all = from_ == count_;
    return true;
}

// The sums after this row of the window, pair after pair, from those at present.
bool window_search::redo(neighbour_runs& neighbours, i64 row, class_sums& sums) {
    const auto own = static_cast<i32>(first_ + row);
    if (!neighbours.gather_for(&own, 1)) return false;
    sums = sums_;
    rows_.sweep_one(neighbours, own, neighbours.place(0), sums);
    return true;
}

// The rows that are left, one after the other.
bool window_search::redo_rest(neighbour_runs& neighbours) {
    class_sums redone;
    for (i64 row = from_; row < count_; ++row) {
        if (neighbours.cell_of(first_ + row) == neighbour_runs::nowhere) continue;
        if (!redo(neighbours, row, redone)) return false;
        for (i32 k = coincident_class; k <= last_class_; ++k) {
            if (taken_in_[k].measure <= row) sums_.of[k].measure = redone.of[k].measure;
            if (taken_in_[k].distance <= row) sums_.of[k].distance = redone.of[k].distance;
        }
    }
    return true;
}

} // namespace qmx
