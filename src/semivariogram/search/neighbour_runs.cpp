#include "semivariogram/search/neighbour_runs.hpp"

#include "semivariogram/search/gamv_variables.hpp"

#include <algorithm>
#include <bit>
#include <cmath>
#include <utility>

namespace qmx {

namespace {

constexpr f64 cells_in_reach = 2.0;      // cell side: the reach divided by it
constexpr f64 most_cells_across = 1.0e9; // so that a cell's number fits in 32 bits
constexpr f64 widest_gap = 0.25;         // between neighbours of a group, times the reach
constexpr f64 widest_group = 0.75;       // times the reach
constexpr f64 widest_crowd = 1.5;        // of listed points, times the reach
constexpr i64 bridged_gap = 12;          // points out of range between candidates, kept with them
constexpr i64 shortest_bridged = 4;      // mean length of runs; shorter ones count as scattered
constexpr i64 shortest_in_place = 1024;  // points in a row that are not copied
constexpr i64 swept_for_a_mark = 20;     // pairs tested in the time that marking one run takes
constexpr i64 longest_unmarked = 16;     // groups between two neighbour searches

bool is_finite(f32 x, f32 y) {
    return std::isfinite(x) && std::isfinite(y);
}

// Makes room for at least `needed` elements, keeping `kept`.
template <class T> bool grow(work_array<T>& array, i64 needed, i64 kept) {
    if (needed <= array.size()) return true;
    work_array<T> larger(std::max(needed, 2 * array.size()));
    if (!larger) return false;
    std::copy_n(array.data(), kept, larger.data());
    array = std::move(larger);
    return true;
}

} // namespace

// Column and row are monotone functions of the coordinate, rounding included: a point between two
// others lies in a cell between theirs.
std::uint32_t neighbour_runs::column_of(f64 x) const {
    const f64 column = (x - left_) / side_;
    if (!(column > 0)) return 0;
    return column < last_column_ ? static_cast<std::uint32_t>(column) : last_column_;
}

std::uint32_t neighbour_runs::row_of(f64 y) const {
    const f64 row = (y - bottom_) / side_;
    if (!(row > 0)) return 0;
    return row < last_row_ ? static_cast<std::uint32_t>(row) : last_row_;
}

std::uint64_t neighbour_runs::cell_of(i64 point) const {
    if (!is_finite(x_[point], y_[point])) return nowhere;
    return static_cast<std::uint64_t>(row_of(y_[point])) << 32 | column_of(x_[point]);
}

void neighbour_runs::box::take_in(f64 x, f64 y) {
    left = std::min(left, x);
    right = std::max(right, x);
    bottom = std::min(bottom, y);
    top = std::max(top, y);
}

i64 neighbour_runs::end_of_group(i64 first_point, i64 most) const {
    box group(x_[first_point], y_[first_point]);
    i64 end = first_point;
    for (; end < count_ && end - first_point < most && is_finite(x_[end], y_[end]); ++end) {
        const f64 x = x_[end], y = y_[end];
        group.take_in(x, y);
        if (group.longest_side() > widest_group * reach_) break;
        if (end > first_point &&
            std::max(std::fabs(x - x_[end - 1]), std::fabs(y - y_[end - 1])) > widest_gap * reach_)
            break;
    }
    return end;
}

i64 neighbour_runs::turns(i64 first_point, i64 end_point) const {
    i64 turns = 0;
    for (i64 i = first_point + 2; i < end_point; ++i) {
        const f64 x = f64{x_[i - 1]} - f64{x_[i - 2]}, y = f64{y_[i - 1]} - f64{y_[i - 2]};
        const f64 next_x = f64{x_[i]} - f64{x_[i - 1]}, next_y = f64{y_[i]} - f64{y_[i - 1]};
        const f64 step = std::max(x * x + y * y, next_x * next_x + next_y * next_y);
        turns += static_cast<i64>(x * next_x + y * next_y < 0.7 * step);
    }
    return turns;
}

i64 neighbour_runs::close_together(const i32* points, i64 count, i64 most) const {
    box group(x_[points[0]], y_[points[0]]);
    i64 close = 1;
    for (; close < std::min(count, most); ++close) {
        group.take_in(x_[points[close]], y_[points[close]]);
        if (group.longest_side() > widest_crowd * reach_) break;
    }
    return close;
}

bool neighbour_runs::build(const f32* x, const f32* y, const f32* value, i64 count, f32 dismxs) {
    x_ = x;
    y_ = y;
    value_ = value;
    count_ = count;
    f64 right = 0, top = 0;
    bool any = false;
    for (i64 i = 0; i < count; ++i) {
        if (!is_finite(x[i], y[i])) continue;
        left_ = any ? std::min<f64>(left_, x[i]) : x[i];
        right = any ? std::max<f64>(right, x[i]) : x[i];
        bottom_ = any ? std::min<f64>(bottom_, y[i]) : y[i];
        top = any ? std::max<f64>(top, y[i]) : y[i];
        any = true;
    }
    // With dx * dx <= dismxs in f32, dx may exceed the root by a few units in the last place, and by a
    // little more where the square underflows.
    constexpr f64 underflow = std::numeric_limits<f32>::min();
    reach_ = std::sqrt(static_cast<f64>(dismxs) + underflow) * (1.0 + 1.0e-6);
    const f64 extent = std::max(right - left_, top - bottom_);
    side_ = std::max(reach_ / cells_in_reach, extent / most_cells_across);
    last_column_ = static_cast<std::uint32_t>((right - left_) / side_);
    last_row_ = static_cast<std::uint32_t>((top - bottom_) / side_);

    runs_ = located_ = 0;
    std::uint64_t before = nowhere;
    for (i64 i = 0; i < count; ++i) {
        const std::uint64_t cell = cell_of(i);
        if (i == 0 || cell != before) {
            ++runs_;
            if (cell != nowhere) ++located_;
        }
        before = cell;
    }
    const i64 words = runs_ / 64 + 1;
    start_ = work_array<i32>(runs_ + 1);
    by_cell_ = work_array<entry>(located_);
    marked_ = work_array<std::uint64_t>(words, 0);
    words_ = work_array<std::uint64_t>(words / 64 + 1, 0);
    if (!start_ || !by_cell_ || !marked_ || !words_) return false;
    i64 run = 0, located = 0;
    for (i64 i = 0; i < count; ++i) {
        const std::uint64_t cell = cell_of(i);
        if (i == 0 || cell != before) {
            if (cell != nowhere)
                by_cell_[located++] = {static_cast<std::uint32_t>(cell >> 32),
                                       static_cast<std::uint32_t>(cell), static_cast<i32>(run)};
            start_[run++] = static_cast<i32>(i);
        }
        before = cell;
    }
    start_[run] = static_cast<i32>(count);
    std::sort(by_cell_.begin(), by_cell_.end(), [](const entry& a, const entry& b) {
        return a.cell() != b.cell() ? a.cell() < b.cell() : a.run < b.run;
    });
    return true;
}

void neighbour_runs::mark(i64 run) {
    const i64 word = run >> 6;
    marked_[word] |= std::uint64_t{1} << (run & 63);
    words_[word >> 6] |= std::uint64_t{1} << (word & 63);
    first_word_ = std::min(first_word_, word >> 6);
    last_word_ = std::max(last_word_, word >> 6);
}

// Lists the marked runs in ascending order and clears their marks.
bool neighbour_runs::list_marked() {
    numbers_ = 0;
    for (i64 high = first_word_; high <= last_word_; ++high) {
        if (!grow(number_, numbers_ + i64{64} * 64 + 4, numbers_)) return false;
        for (; words_[high] != 0; words_[high] &= words_[high] - 1) {
            const i64 word = high * 64 + std::countr_zero(words_[high]);
            std::uint64_t bits = std::exchange(marked_[word], 0);
            do number_[numbers_++] = static_cast<i32>(word * 64 + std::countr_zero(bits));
            while ((bits &= bits - 1) != 0);
        }
    }
    return true;
}

bool neighbour_runs::mark_neighbours(const box& points) {
    const std::uint32_t last_row = row_of(points.top + reach_);
    first_word_ = words_.size();
    last_word_ = -1;
    looked_at_ = unmarked_ = 0;
    for (std::uint64_t row = row_of(points.bottom - reach_); row <= last_row; ++row) {
        // A row of cells at some distance from the points is reached by a shorter chord of the circle. A
        // thousandth of a cell covers the rounding of cell borders.
        const f64 below = bottom_ + static_cast<f64>(row) * side_;
        const f64 gap =
            std::max(below - points.top, points.bottom - (below + side_)) - 0.001 * side_;
        const f64 across = gap > 0 ? std::sqrt(std::max(reach_ * reach_ - gap * gap, 0.0)) : reach_;
        const std::uint64_t first_cell = row << 32 | column_of(points.left - across);
        const std::uint64_t last_cell = row << 32 | column_of(points.right + across);
        const entry* at =
            std::lower_bound(by_cell_.begin(), by_cell_.end(), first_cell,
                             [](const entry& a, std::uint64_t cell) { return a.cell() < cell; });
        for (; at != by_cell_.end() && at->cell() <= last_cell; ++at, ++looked_at_)
            if (at->run >= run_) mark(at->run);
    }
    return list_marked();
}

// Makes segments of the listed runs. Long stretches with short gaps are used in place. Scattered runs are
// copied, since every point of the group reads them.
bool neighbour_runs::make_segments(i64 points) {
    const i64 first_candidate = first(number_[0]);
    const i64 span = end(number_[numbers_ - 1]) - first_candidate;
    i64 candidates = 0;
    for (i64 k = 0; k < numbers_; ++k) candidates += end(number_[k]) - first(number_[k]);
    segments_ = 0;
    // Copying pays if the tests it saves cost more than the copies.
    const bool scattered = candidates < shortest_bridged * numbers_;
    const i64 spared = (span - candidates) * points;
    if (spared <= candidates * (scattered ? 10 : 1)) return add_in_place(first_candidate, span);
    const i64 gap = scattered ? 0 : bridged_gap;
    // The kernel may read beyond the ends of the copies.
    const i64 room = candidates + numbers_ * gap + 2 * gamv_variables::padding;
    if (3 * room > copy_.size()) {
        copy_ = work_array<f32>(std::max(3 * room, 2 * copy_.size()), 0.0F);
        if (!copy_) return false;
    }
    f32* const x = copy_.data() + gamv_variables::padding;
    f32* const y = x + copy_.size() / 3;
    f32* const value = y + copy_.size() / 3;
    i64 copied = 0;
    bool continues = false; // the last segment holds copies
    for (i64 k = 0; k < numbers_;) {
        const i64 from = first(number_[k]);
        i64 to = end(number_[k]);
        for (++k; k < numbers_ && first(number_[k]) - to <= gap; ++k) to = end(number_[k]);
        if (to - from >= shortest_in_place) {
            if (!add_in_place(from, to - from)) return false;
            continues = false;
            continue;
        }
        if (!continues) {
            if (!grow(segment_, segments_ + 1, segments_)) return false;
            segment_[segments_++] = {x + copied, y + copied, value + copied, 0};
            continues = true;
        }
        i64& length = segment_[segments_ - 1].count;
        take_places(segments_ - 1, from, to, length);
        length += to - from;
        if (to - from == 1) {
            x[copied] = x_[from];
            y[copied] = y_[from];
            value[copied] = value_[from];
        } else {
            std::copy(x_ + from, x_ + to, x + copied);
            std::copy(y_ + from, y_ + to, y + copied);
            std::copy(value_ + from, value_ + to, value + copied);
        }
        copied += to - from;
    }
    return true;
}

// Notes the places of wanted points among points `from` to `to` - 1, which the segment holds from the
// offset on.
void neighbour_runs::take_places(i64 segment, i64 from, i64 to, i64 offset) {
    for (; places_ < wanted_places_ && wanted_[places_] < to; ++places_)
        place_[places_] = {segment, offset + wanted_[places_] - from};
}

bool neighbour_runs::add_in_place(i64 from, i64 length) {
    if (!grow(segment_, segments_ + 1, segments_)) return false;
    take_places(segments_, from, from + length, 0);
    segment_[segments_++] = {x_ + from, y_ + from, value_ + from, length};
    return true;
}

// Whether testing all points that are left is quicker than a neighbour search, as for scattered points of
// which a good part is in range. Estimated from the last search, which is repeated now and then.
bool neighbour_runs::sweeping_pays(i64 first_point, i64 count) {
    const i64 tests = (count_ - first_point) * count;
    return tests <= swept_for_a_mark * looked_at_ && ++unmarked_ < longest_unmarked;
}

bool neighbour_runs::are_few_left(i64 first_point) const {
    return count_ - first_point <= swept_for_a_mark / 2 * looked_at_;
}

bool neighbour_runs::gather_around(const box& points, i64 first_point, i64 count) {
    run_ =
        std::upper_bound(start_.begin(), start_.begin() + runs_, first_point) - start_.begin() - 1;
    offset_ = first_point - first(run_);
    places_ = 0;
    if (sweeping_pays(first_point, count)) {
        segments_ = 0;
        return add_in_place(first(run_), count_ - first(run_));
    }
    return mark_neighbours(points) && make_segments(count);
}

bool neighbour_runs::gather(i64 first_point, i64 end_point) {
    box points(x_[first_point], y_[first_point]);
    for (i64 i = first_point + 1; i < end_point; ++i) points.take_in(x_[i], y_[i]);
    wanted_places_ = 0;
    return gather_around(points, first_point, end_point - first_point);
}

bool neighbour_runs::gather_for(const i32* points, i64 count) {
    box around(x_[points[0]], y_[points[0]]);
    for (i64 k = 1; k < count; ++k) around.take_in(x_[points[k]], y_[points[k]]);
    wanted_ = points;
    wanted_places_ = count;
    return gather_around(around, points[0], count);
}

} // namespace qmx
