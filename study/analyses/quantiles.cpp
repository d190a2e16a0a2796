#include "study/analyses/quantiles.hpp"
#include "study/base/portable_math.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

namespace qmx_study {

namespace {

// From 0, between two values where it is no whole number.
double rank_of(double percent, std::size_t count) {
    return static_cast<double>(count - 1) * percent / 100;
}

// Puts the values at the ranks asked for, and those behind them, where a sort would put them.
void sort_where_asked(std::vector<double>& values, const std::vector<double>& percents) {
    constexpr std::size_t soon_sorted = 100000;
    if (values.size() <= soon_sorted) return std::sort(values.begin(), values.end());
    std::vector<std::size_t> ranks;
    for (const double percent : percents) {
        const auto at = static_cast<std::size_t>(std::floor(rank_of(percent, values.size())));
        ranks.push_back(at);
        ranks.push_back(std::min(at + 1, values.size() - 1));
    }
    std::sort(ranks.begin(), ranks.end());
    auto settled = values.begin();
    for (const std::size_t rank : ranks) {
        const auto place = values.begin() + static_cast<std::ptrdiff_t>(rank);
        if (place < settled) continue;
        std::nth_element(settled, place, values.end());
        settled = place + 1;
    }
}

} // namespace

std::vector<quantile> quantiles_of(std::vector<double> values,
                                   const std::vector<double>& percents) {
    sort_where_asked(values, percents);
    std::vector<quantile> result;
    for (const double percent : percents) {
        if (values.empty()) {
            result.push_back({percent, std::numeric_limits<double>::quiet_NaN()});
            continue;
        }
        // Whole ranks where percent / 100 has no binary fraction: 30 % of 11 values is the fourth.
        const double rank = rank_of(percent, values.size());
        const double below = std::floor(rank);
        const auto at = static_cast<std::size_t>(below);
        const std::size_t next = std::min(at + 1, values.size() - 1);
        const double part = rank - below;
        const double value =
            part > 0 ? portable::between(values[at], values[next], part) : values[at];
        result.push_back(
            {percent, value + 0.0}); // a zero of either sign may have come to this place
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
