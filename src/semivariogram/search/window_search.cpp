#include "semivariogram/search/window_search.hpp"

#include <algorithm>
#include <numeric>

namespace qmx {

using namespace pair_kernel;
using namespace ordered_growth;

namespace {

constexpr i64 bytes_for_a_point = 8; // that keep what rows add
constexpr i64 least_rows = 64;       // of a window
constexpr i64 turns_to_a_row = 16;   // of a path, from which on it is searched by place
constexpr i64 rows_before = 4;       // a window, for each of its rows: sums then grow by a fraction

bool windows_are_everywhere = false;

i64 capacity_for(i64 points, i32 last_class) {
    const i64 row = row_sum_kinds * (last_class + 1) * i64{sizeof(std::uint64_t)};
    return std::max(least_rows, bytes_for_a_point * points / row);
}

} // namespace

void use_windows_everywhere(bool everywhere) {
    windows_are_everywhere = everywhere;
}

window_search::window_search(row_sweep& rows, const points& all, i64 count, class_sums& sums)
    : last_class_(rows.rules().classes->last), capacity_(capacity_for(count, last_class_)),
      sums_(sums), rows_(rows), joiner_(rows.rules(), sums), placed_(rows.rules(), all, count) {}

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
    // The sums of the first rows grow too fast for a window.
    if (first < rows_before * least_rows) return false;
    const i64 sample = std::min(end - first, least_rows);
    if (placed_.is_possible()) {
        if (neighbours.turns(first, first + sample) * turns_to_a_row > sample) return true;
    } else if (neighbours.are_few_left(first)) {
        return false;
    }
    return rows_.most_rows() * groups_beside(neighbours, first, first + sample) > 3 * sample;
}

bool window_search::pays() const {
    return windows_are_everywhere || is_placed_ || 2 * groups_ <= groups_beside_;
}

bool window_search::reserve() {
    if (growth_.size() > 0) return true;
    row_ = work_array<row_sums>(1);
    located_rows_ = work_array<located_row>(capacity_);
    order_ = work_array<i32>(capacity_);
    group_end_ = work_array<i32>(capacity_);
    growth_ = work_array<packed_growth>(row_sum_kinds * (last_class_ + 1) * capacity_);
    return row_ && located_rows_ && order_ && group_end_ && growth_;
}

bool window_search::plan(const neighbour_runs& neighbours, i64 first, i64 end) {
    if (!reserve()) return false;
    first_ = first;
    count_ = end - first;
    is_placed_ = placed_.is_possible();
    if (is_placed_) return placed_.plan(first, end, neighbours.reach());
    plan_groups(neighbours);
    return true;
}

void window_search::plan_groups(const neighbour_runs& neighbours) {
    const i64 first = first_, end = first_ + count_;
    groups_beside_ = groups_beside(neighbours, first, end);
    // Two neighbouring cells of a grid row are one.
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
}

window_search::packed_growth* window_search::table(row_sum kind, i32 k) const {
    return growth_.data() + (static_cast<i64>(kind) * (last_class_ + 1) + k) * capacity_;
}

bool window_search::search(neighbour_runs& neighbours) {
    neighbours_ = &neighbours;
    // A row is expected to add at most 1.5 times what the rows before the window added on average.
    const f64 factor = 1.0 + 1.5 * static_cast<f64>(count_) / static_cast<f64>(first_);
    joiner_.begin(count_, [&](i32 k) {
        const class_sums::of_class& sums = sums_.of[k];
        return sum_joiner::expected_sums{sums.distance * factor, sums.squares * factor};
    });
    return joiner_.join(*this);
}

void window_search::clear_tables(i64 from) {
    for (i32 k = coincident_class; k <= last_class_; ++k)
        for (const row_sum kind : {row_sum::squares, row_sum::next_squares, row_sum::distances})
            if (joiner_.is_wanted(k, kind))
                std::fill(table(kind, k) + from, table(kind, k) + count_, no_growth);
}

// Starts the sums of all rows.
void window_search::begin_sums_of_rows() {
    row_sums& sums = row_[0];
    std::copy_n(joiner_.needs(), columns, sums.needs);
    std::fill_n(sums.has_needs, columns, false); // also of those that stand for no class
    with_needs_ = 0;
    for (i32 k = coincident_class; k <= last_class_; ++k) {
        const f64 power = joiner_.power(k, row_sum::squares);
        for (row_sums::pooled_sums& sum : sums.pooled[k].sums) sum = {power, 0};
        std::fill_n(sums.pooled[k].count, row_sums::turns, 0);
        sums.has_needs[k] = joiner_.is_wanted(k) && sums.needs[k] != 0;
        if (sums.has_needs[k]) class_with_needs_[with_needs_++] = k;
    }
    sums.any_needs = with_needs_ > 0;
}

bool window_search::sweep() {
    const i64 from = joiner_.from();
    clear_tables(from);
    if (is_placed_) {
        const auto keep = [&](i64 row, i32 k, row_sum kind, const row_growth& growth) {
            table(kind, k)[row - first_] = packed_without_order(growth);
        };
        if (placed_.sweep(joiner_, first_ + from, keep)) return true;
        is_placed_ = false; // coincident points, which the first sweep finds
        clear_tables(from);
        plan_groups(*neighbours_);
    }
    begin_sums_of_rows();
    for (i64 group = 0, at = 0; group < groups_; at = group_end_[group++]) {
        const i32* const end = order_.data() + group_end_[group];
        const i32* const group_rows = order_.data() + at;
        const i32* const rows = std::lower_bound(group_rows, end, static_cast<i32>(first_ + from));
        if (rows == end) continue;
        if (!neighbours_->gather_for(rows, end - rows)) return false;
        for (const i32* row = rows; row != end; ++row)
            sweep_row(*row, neighbours_->place(row - rows));
    }
    return true;
}

void window_search::sweep_row(i32 row, const candidate_place& own) {
    row_sums& sums = row_[0];
    for (i64 n = 0; n < with_needs_; ++n) {
        const i32 k = class_with_needs_[n];
        begin_sums(sums.of[k].squares, joiner_.power(k, row_sum::squares));
        begin_sums(sums.of[k].next_squares, joiner_.power(k, row_sum::next_squares));
        begin_sums(sums.of[k].ordered_distance, joiner_.power(k, row_sum::distances));
    }
    rows_.sweep_one(*neighbours_, row, own, sums);
    for (i64 n = 0; n < with_needs_; ++n) {
        const i32 k = class_with_needs_[n];
        const auto keep = [&](row_sum kind, const two_starts<f64>& sum) {
            if (joiner_.is_wanted(k, kind))
                table(kind, k)[row - first_] =
                    packed(growth_of(sum.even, sum.odd, joiner_.power(k, kind)));
        };
        keep(row_sum::squares, sums.of[k].squares);
        keep(row_sum::next_squares, sums.of[k].next_squares);
        keep(row_sum::distances, sums.of[k].ordered_distance);
    }
}

i64 window_search::count(i32 k) const {
    if (is_placed_) return placed_.count(k);
    const row_sums::of_all_rows& of = row_[0].pooled[k];
    return std::accumulate(of.count, of.count + row_sums::turns, i64{0});
}

f64 window_search::distance(i32 k) const {
    if (is_placed_) return placed_.distance(k);
    f64 sum = 0;
    for (const row_sums::pooled_sums& each : row_[0].pooled[k].sums) sum += each.distance;
    return rows_.rules().twice ? 0.5 * sum : sum;
}

f64 window_search::pooled_squares(i32 k) const {
    if (is_placed_) return placed_.pooled_squares(k);
    const f64 power = joiner_.power(k, row_sum::squares);
    f64 growth = 0;
    for (const row_sums::pooled_sums& each : row_[0].pooled[k].sums) growth += each.squares - power;
    return growth;
}

bool window_search::redo(i64 row, class_sums& sums) {
    const auto own = static_cast<i32>(first_ + row);
    if (neighbours_->cell_of(own) == neighbour_runs::nowhere) return true;
    if (!neighbours_->gather_for(&own, 1)) return false;
    rows_.sweep_one(*neighbours_, own, neighbours_->place(0), sums);
    return true;
}

} // namespace qmx
