#include "study/analyses/quantiles.hpp"
#include "study/base/portable_math.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

namespace qmx_study {

std::vector<quantile> quantiles_of(std::vector<double> values,
                                   const std::vector<double>& percents) {
    std::sort(values.begin(), values.end());
    std::vector<quantile> result;
    for (const double percent : percents) {
        if (values.empty()) {
            result.push_back({percent, std::numeric_limits<double>::quiet_NaN()});
            continue;
        }
        // Whole ranks where percent / 100 has no binary fraction: 30 % of 11 values is the fourth.
        const double rank = static_cast<double>(values.size() - 1) * percent / 100;
        const double below = std::floor(rank);
        const auto at = static_cast<std::size_t>(below);
        const std::size_t next = std::min(at + 1, values.size() - 1);
        const double part = rank - below;
        result.push_back(
            {percent, part > 0 ? portable::between(values[at], values[next], part) : values[at]});
    }
    return result;
}

counted_share share_at(const std::vector<double>& values, double limit, bool below) {
    counted_share share;
    share.of = static_cast<std::int64_t>(values.size());
    share.counted = std::count_if(values.begin(), values.end(), [&](double value) {
        return below ? value <= limit : value >= limit;
    });
    return share;
}

} // namespace qmx_study
