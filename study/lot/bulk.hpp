// Where the bulk of a lot lies, and the few rows that stand far from it: a receiver without a fix
// writes 0, 0, and one such row must not settle what is made of all others.
#pragma once

#include <cstddef>
#include <vector>

#include <qmx_ic.h>

namespace qmx_study {

struct bulk {
    double left = 0, right = 0, bottom = 0, top = 0; // of the points that are not astray
    double median_x = 0, median_y = 0;
    std::size_t points = 0;
    std::vector<std::size_t> strays; // ascending; at most one point in a hundred, or one

    double middle_x() const { return left + (right - left) / 2; }
    double middle_y() const { return bottom + (top - bottom) / 2; }
};

// A point is astray when it lies more than twenty times as far from the median, along an axis, as the
// middle half of the points is wide. Points without a position take no part.
bulk bulk_of(const std::vector<t_icdata>& points);

} // namespace qmx_study
