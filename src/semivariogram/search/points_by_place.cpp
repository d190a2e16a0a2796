#include "semivariogram/search/points_by_place.hpp"

#include "semivariogram/search/gamv_variables.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

namespace qmx {

namespace {

constexpr f64 usual_width = 0.8; // of strips, times the mean distance of points
constexpr f64 other_widths[] = {1.0, 1.3, 1.6};
constexpr f64 widest_path = 0.25;       // times the mean distance
constexpr f64 most_strips = 64;         // within the reach
constexpr f64 cells_in_reach = 8;       // along a strip
constexpr f64 most_cells_a_point = 2.0; // on average
constexpr i64 fewest_forgotten = 8;     // times as many points are left, before they are removed

bool is_finite(f32 x, f32 y) {
    return std::isfinite(x) && std::isfinite(y);
}

} // namespace

// Finds the extent of the data; false without a place.
bool points_by_place::survey(i64 count) {
    position low = {}, high = {};
    placed_ = 0;
    for (i64 i = 0; i < count; ++i) {
        if (!is_finite(all_.x[i], all_.y[i])) continue;
        const position at = {all_.x[i], all_.y[i]};
        if (placed_++ == 0) low = high = at;
        low = {std::min(low.along, at.along), std::min(low.across, at.across)};
        high = {std::max(high.along, at.along), std::max(high.across, at.across)};
    }
    is_turned_ = high.across - low.across > high.along - low.along;
    if (is_turned_) {
        std::swap(low.along, low.across);
        std::swap(high.along, high.across);
    }
    least_ = low;
    greatest_ = high;
    return placed_ > 0;
}

struct points_by_place::strip_extent {
    f64 low, high;
    i64 points;
};

i64 points_by_place::strips_of_width(f64 width) const {
    return static_cast<i64>((greatest_.across - least_.across) / width) + 1;
}

// How many strips of this width hold points; without end if those of a strip are mostly spread beyond the
// width of one path.
f64 points_by_place::strips_of_single_paths(i64 count, f64 width, f64 path,
                                            const work_array<strip_extent>& extents) const {
    const i64 strips = strips_of_width(width);
    std::fill_n(extents.data(), strips, strip_extent{0, 0, 0});
    for (i64 i = 0; i < count; ++i) {
        if (!is_finite(all_.x[i], all_.y[i])) continue;
        const f64 across = position_of(i).across;
        strip_extent& of = extents[static_cast<i64>((across - least_.across) / width)];
        if (of.points++ == 0) of.low = of.high = across;
        of.low = std::min(of.low, across);
        of.high = std::max(of.high, across);
    }
    i64 held = 0, spread = 0;
    for (i64 strip = 0; strip < strips; ++strip) {
        const strip_extent& of = extents[strip];
        held += static_cast<i64>(of.points > 0);
        if (of.high - of.low > path) spread += of.points;
    }
    return 10 * spread > placed_ ? INFINITY : static_cast<f64>(held);
}

// False when memory ran out.
bool points_by_place::divide(i64 count) {
    const f64 length = greatest_.along - least_.along, width = greatest_.across - least_.across;
    const f64 spacing = std::sqrt(length * width / static_cast<f64>(placed_));
    f64 strip = std::max(usual_width * spacing, reach_ / most_strips);
    if (strip == usual_width * spacing && width / strip < static_cast<f64>(placed_)) {
        // Paths are best kept whole, each in a strip of its own.
        const work_array<strip_extent> extents(strips_of_width(strip));
        if (!extents) return false;
        f64 fewest = strips_of_single_paths(count, strip, widest_path * spacing, extents);
        for (const f64 other : other_widths) {
            const f64 strips =
                strips_of_single_paths(count, other * spacing, widest_path * spacing, extents);
            if (!(strips < fewest)) continue;
            fewest = strips;
            strip = other * spacing;
        }
    }
    f64 cell = reach_ / cells_in_reach;
    const auto number = [&] { return (length / cell + 1) * (width / strip + 1); };
    while (number() > most_cells_a_point * static_cast<f64>(placed_) + 64) {
        strip *= 1.25;
        cell *= 1.25;
    }
    strips_ = static_cast<i64>(width / strip) + 1;
    cells_ = static_cast<i64>(length / cell) + 1;
    strips_per_unit_ = 1.0 / strip;
    cells_per_unit_ = 1.0 / cell;
    return true;
}

// Sorts the points by cell, and along the strip within each.
void points_by_place::fill(i64 count) {
    const i64 all_cells = strips_ * cells_;
    for (i64 i = 0; i < count; ++i)
        if (is_finite(all_.x[i], all_.y[i])) ++start_[cell_number(i) + 1];
    for (i64 cell = 0; cell < all_cells; ++cell) start_[cell + 1] += start_[cell];
    for (i64 i = 0; i < count; ++i)
        if (is_finite(all_.x[i], all_.y[i]))
            number_[start_[cell_number(i)]++] = static_cast<i32>(i);
    for (i64 cell = all_cells; cell > 0; --cell) start_[cell] = start_[cell - 1];
    start_[0] = 0;
    const f32* const along = is_turned_ ? all_.y : all_.x;
    for (i64 cell = 0; cell < all_cells; ++cell)
        std::sort(number_ + start_[cell], number_ + start_[cell + 1],
                  [&](i32 a, i32 b) { return std::pair(along[a], a) < std::pair(along[b], b); });
    for (i64 at = 0; at < placed_; ++at) {
        const i32 point = number_[at];
        x_[at] = all_.x[point];
        y_[at] = all_.y[point];
        value_[at] = all_.value[point];
        rank_[point] = static_cast<i32>(at);
    }
}

bool points_by_place::build(const pair_kernel::points& all, i64 count, f64 reach) {
    all_ = all;
    reach_ = reach;
    forgotten_ = 0;
    rank_ = work_array<i32>(count, -1);
    if (!rank_) return false;
    if (survey(count) && !divide(count)) return false;
    const i64 stride = placed_ + 2 * gamv_variables::padding;
    start_ = work_array<i32>(strips_ * cells_ + 1, 0);
    coordinates_ = work_array<f32>(3 * stride, 0.0F);
    numbers_ = work_array<i32>(stride, -1);
    if (!start_ || !coordinates_ || !numbers_) return false;
    x_ = coordinates_.data() + gamv_variables::padding;
    y_ = x_ + stride;
    value_ = y_ + stride;
    number_ = numbers_.data() + gamv_variables::padding;
    if (placed_ > 0) fill(count);
    return true;
}

void points_by_place::forget_before(i64 first) {
    if (fewest_forgotten * (first - forgotten_) < placed_) return;
    forgotten_ = first;
    i64 kept = 0, at = 0;
    for (i64 cell = 0; cell < strips_ * cells_; ++cell) {
        const i64 end = start_[cell + 1];
        start_[cell] = static_cast<i32>(kept);
        for (; at < end; ++at) {
            x_[kept] = x_[at];
            y_[kept] = y_[at];
            value_[kept] = value_[at];
            number_[kept] = number_[at];
            kept += static_cast<i64>(number_[at] >= first);
        }
    }
    start_[strips_ * cells_] = static_cast<i32>(kept);
    placed_ = kept;
}

} // namespace qmx
