// Shares and quantiles counted off the values themselves, not off a histogram.
#pragma once

#include <cstdint>
#include <vector>

#include <qmx_ic.h>

namespace qmx_study {

struct quantile {
    double percent = 0, value = 0;
};

// The quantiles of some values, none of them a NaN: between the two ordered values about the rank
// (n - 1) percent / 100, counted from 0, linearly interpolated. This is type 7 of R. J. Hyndman and
// Y. Fan: Sample quantiles in statistical packages (1996). Percents in the order given; NaN without
// values.
std::vector<quantile> quantiles_of(std::vector<double> values, const std::vector<double>& percents);
// Of the points' values, where they stand: many of them are counted by their digits, not copied.
std::vector<quantile> quantiles_of_points(const std::vector<t_icdata>& points,
                                          const std::vector<double>& percents);

// How many of the values are at or above (below: at or below) a limit.
struct counted_share {
    std::int64_t counted = 0, of = 0;
    double percent() const {
        return 100.0 * static_cast<double>(counted) / static_cast<double>(of);
    }
};
counted_share share_at(const std::vector<t_icdata>& points, double limit, bool below);

} // namespace qmx_study
