#include "study/lot/bulk.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

namespace qmx_study {

namespace {

struct quarters {
    double first = 0, median = 0, third = 0;
    double width() const { return third - first; }
};

quarters quarters_of(std::vector<double>& values) {
    const auto at = [&](std::size_t fourth) {
        const auto place =
            values.begin() + static_cast<std::ptrdiff_t>(fourth * (values.size() - 1) / 4);
        std::nth_element(values.begin(), place, values.end());
        return *place;
    };
    return {at(1), at(2), at(3)};
}

} // namespace

bulk bulk_of(const std::vector<t_icdata>& points) {
    constexpr std::size_t most_sampled = 50000; // which settle the quarters of any lot
    constexpr double widths = 20;
    bulk found;
    const std::size_t step = points.size() / most_sampled + 1;
    std::vector<double> x, y;
    for (std::size_t i = 0; i < points.size(); i += step) {
        if (std::isnan(points[i].d_x) || std::isnan(points[i].d_y)) continue;
        x.push_back(points[i].d_x);
        y.push_back(points[i].d_y);
    }
    if (x.empty()) return found;
    const quarters east = quarters_of(x);
    const quarters north = quarters_of(y);
    found.median_x = east.median;
    found.median_y = north.median;
    const double width = std::max(east.width(), north.width());
    double farthest = width > 0 ? widths * width : std::numeric_limits<double>::infinity();

    const auto measure = [&] {
        found.left = found.bottom = std::numeric_limits<double>::infinity();
        found.right = found.top = -found.left;
        found.points = 0;
        found.strays.clear();
        for (std::size_t i = 0; i < points.size(); ++i) {
            const t_icdata& point = points[i];
            if (std::isnan(point.d_x) || std::isnan(point.d_y)) continue;
            if (std::fabs(point.d_x - east.median) > farthest ||
                std::fabs(point.d_y - north.median) > farthest) {
                found.strays.push_back(i);
                continue;
            }
            ++found.points;
            found.left = std::min(found.left, point.d_x);
            found.right = std::max(found.right, point.d_x);
            found.bottom = std::min(found.bottom, point.d_y);
            found.top = std::max(found.top, point.d_y);
        }
    };
    measure();
    const std::size_t all = found.points + found.strays.size();
    if (found.strays.size() > std::max<std::size_t>(1, all / 100)) { // another site, no mistakes
        farthest = std::numeric_limits<double>::infinity();
        measure();
    }
    return found;
}

} // namespace qmx_study
