#include "study/analyses/pair_counts.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

#include "study/analyses/library_call.hpp"
#include "study/base/portable_math.hpp"

namespace qmx_study {

namespace {

constexpr int pairs_in_a_row = 10;

// Whether the distance is well inside its class once positions have 32 bits.
bool keeps_its_class(const t_icdata& start, const t_icdata& end, double length, double lag) {
    const double dx = static_cast<double>(static_cast<float>(end.d_x)) -
                      static_cast<double>(static_cast<float>(start.d_x));
    const double dy = static_cast<double>(static_cast<float>(end.d_y)) -
                      static_cast<double>(static_cast<float>(start.d_y));
    return std::fabs(portable::length_of(dx, dy) - length) <= (length > 0 ? lag / 8 : 0);
}

// Puts a pair of each class to the east of the points, in rows of ten. False where 32-bit positions
// are too coarse for that.
bool lay_out_pairs(std::vector<t_icdata>& points, const t_gamvset_user& settings) {
    const double lag = static_cast<double>(settings.x_xlag);
    const double cut_off = (settings.i_nlag + 0.5) * lag;
    const double apart = 2.5 * cut_off; // a pair takes one cut-off of it at most
    double east = 0;
    double north = 0;
    if (!points.empty()) {
        east = points.front().d_x;
        north = points.front().d_y;
    }
    for (const t_icdata& point : points) east = std::max(east, point.d_x);

    const double turns = static_cast<double>(settings.x_azm) / 360;
    for (int k = 0; k < settings.i_nlag + 2; ++k) {
        const double length = k == 0 ? 0 : k == 1 ? lag / 4 : (k - 1) * lag;
        t_icdata start{};
        start.d_x = east + apart * (1 + k % pairs_in_a_row);
        const int row = k / pairs_in_a_row - pairs_in_a_row / 2;
        start.d_y = north + apart * row;
        t_icdata end = start;
        end.d_x += length * portable::sine_of_turns(turns);
        end.d_y += length * portable::cosine_of_turns(turns);
        end.d_val = 1;
        if (!keeps_its_class(start, end, length, lag)) return false;
        points.push_back(start);
        points.push_back(end);
    }
    return true;
}

} // namespace

std::vector<std::int64_t> count_pairs(std::vector<t_icdata> points,
                                      const t_gamvset_user& settings) {
    const auto classes = static_cast<std::size_t>(settings.i_nlag) + 2;
    std::vector<std::int64_t> pairs(classes, unknown_pairs);
    const std::size_t count = points.size();
    if (count + 2 * classes > static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max()))
        return pairs;
    for (t_icdata& point : points) point.d_val = 0;
    if (!lay_out_pairs(points, settings)) return pairs;
    t_gamvset_user plain = settings;
    plain.i_standsills = QMX_IC_NO;
    semivariogram counted;
    run_semivariogram(points, plain, counted); // whether the model fits such values is no matter
    for (std::size_t k = 0; k < classes; ++k) {
        // Class 0 also took each point laid out with itself.
        const std::size_t laid_out = k == 0 ? 1 + 2 * classes : 1;
        if (counted.semivariances[k] > 0)
            pairs[k] =
                std::llround(0.5 / counted.semivariances[k]) - static_cast<std::int64_t>(laid_out);
    }
    return pairs;
}

} // namespace qmx_study
