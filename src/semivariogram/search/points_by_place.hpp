// The points in the order of their places, for rows whose neighbours do not follow them in the data.
// Called by the window search.
//
// Narrow strips along the longer side of the data are cut into cells. Within a strip the points ascend
// along it, as on the path of a roller, whatever their order in the data. Points before the window are
// removed now and then.
//
// Memory: about 24 bytes a point.
#pragma once

#include "base/work_array.hpp"
#include "semivariogram/kernel/pair_kernel.hpp"

#include <algorithm>
#include <cmath>

namespace qmx {

class points_by_place {
public:
    // Two points are in range if they are no further apart than the reach, in f64. Positions that are not
    // finite have no place. False when memory ran out.
    bool build(const pair_kernel::points& all, i64 count, f64 reach);
    // Points before this one are wanted no more.
    void forget_before(i64 first);

    f64 reach() const { return reach_; }
    // Ascends from strip to strip and along each; negative without a place.
    i32 rank(i64 point) const { return rank_[point]; }
    struct position {
        f64 along, across;
    };
    position position_of(i64 point) const {
        return is_turned_ ? position{all_.y[point], all_.x[point]}
                          : position{all_.x[point], all_.y[point]};
    }
    i64 strip_of(f64 across) const {
        return whole((across - least_.across) * strips_per_unit_, strips_);
    }

    // Calls visit(first, count) for stretches that hold all points in range of the box.
    template <class Visit> void visit_around(position least, position greatest, Visit visit) const;
    pair_kernel::placed_points from(i64 at) const {
        return {{x_ + at, y_ + at, value_ + at}, number_ + at};
    }

private:
    i64 cell_of(f64 along) const { return whole((along - least_.along) * cells_per_unit_, cells_); }
    i64 cell_number(i64 point) const {
        const position place = position_of(point);
        return strip_of(place.across) * cells_ + cell_of(place.along);
    }
    // Monotone, rounding included.
    static i64 whole(f64 place, i64 count) {
        if (!(place > 0)) return 0;
        return place < static_cast<f64>(count - 1) ? static_cast<i64>(place) : count - 1;
    }
    bool survey(i64 count);
    struct strip_extent;
    i64 strips_of_width(f64 width) const;
    f64 strips_of_single_paths(i64 count, f64 width, f64 path,
                               const work_array<strip_extent>& extents) const;
    bool divide(i64 count);
    void fill(i64 count);

    pair_kernel::points all_ = {};
    f64 reach_ = 0;
    bool is_turned_ = false; // strips go along y
    position least_ = {}, greatest_ = {};
    f64 strips_per_unit_ = 0, cells_per_unit_ = 0;
    i64 strips_ = 1, cells_ = 1; // cells of each strip
    i64 placed_ = 0, forgotten_ = 0;
    work_array<i32> start_; // of each cell
    work_array<i32> rank_;
    work_array<f32> coordinates_;
    work_array<i32> numbers_;
    f32 *x_ = nullptr, *y_ = nullptr, *value_ = nullptr;
    i32* number_ = nullptr;
};

template <class Visit>
void points_by_place::visit_around(position least, position greatest, Visit visit) const {
    const f64 strip_width = 1.0 / strips_per_unit_;
    const i64 last = strip_of(greatest.across + reach_);
    for (i64 strip = strip_of(least.across - reach_); strip <= last; ++strip) {
        // A strip at some distance from the points is reached by a shorter chord of the circle. A
        // thousandth of a strip covers the rounding of its borders.
        const f64 below = least_.across + static_cast<f64>(strip) * strip_width;
        const f64 gap = std::max(strip == strips_ - 1 ? 0.0 : least.across - (below + strip_width),
                                 strip == 0 ? 0.0 : below - greatest.across) -
                        0.001 * strip_width;
        const f64 chord = gap > 0 ? std::sqrt(std::max(reach_ * reach_ - gap * gap, 0.0)) : reach_;
        const i32* const starts = start_.data() + strip * cells_;
        const i64 from = starts[cell_of(least.along - chord)];
        const i64 to = starts[cell_of(greatest.along + chord) + 1];
        if (from < to) visit(from, to - from);
    }
}

} // namespace qmx
