// What a record of statistics says of the values it was made of, by plain rules.
#pragma once

#include <algorithm>
#include <cmath>
#include <vector>

#include "qmx_ic.h"
#include "support/property.hpp"
#include "support/textbook.hpp"

namespace fuzz {

inline void require_statistics(const t_statsout& out, const std::vector<float>& values) {
    const moments of = moments_of(values);
    require<"statistics: the values that are numbers are counted">(out.x_stat[9] ==
                                                                   static_cast<float>(of.count));
    if (of.count == 0) return;
    float smallest = std::numeric_limits<float>::infinity(), largest = -smallest;
    for (const float value : values) {
        smallest = value < smallest ? value : smallest;
        largest = value > largest ? value : largest;
    }
    require<"statistics: smallest and largest are those of the values">(out.x_stat[5] == smallest &&
                                                                        out.x_stat[6] == largest);
    if (!of.are_finite) return;
    require<"statistics: the mean is rounded once">(
        is_near32(out.x_stat[0], of.mean, 0.5, of.slack));
    // Only where deviations are large beside what the sums lose.
    if (of.count < 2 || !(of.slack * of.slack * 0x1p50L < of.second)) return;
    const wide variance = of.second / static_cast<double>(of.count - 1);
    if (variance < std::numeric_limits<float>::min())
        return; // the deviation is the root of what is left of it
    require<"statistics: variance and deviation are those of the textbook">(
        is_near32(out.x_stat[1], variance, 2) && is_near32(out.x_stat[2], std::sqrt(variance), 2));
}

// The classes of a histogram by the plain rule: the first limit that a value does not exceed, and the last
// class for what exceeds all. Values of NaN, and limits that do not rise, leave it 0.
inline std::vector<float> plain_shares(const std::vector<float>& values,
                                       const std::vector<float>& limits) {
    std::vector<float> counts(limits.size(), 0.0F);
    for (std::size_t k = 0; k + 1 < limits.size() - 1; ++k)
        if (!(limits[k] < limits[k + 1])) return counts;
    if (limits.size() == 2 && std::isnan(limits[0])) return counts;
    for (const float value : values)
        if (std::isnan(value)) return counts;
    for (const float value : values) {
        std::size_t k = 0;
        while (k + 1 < limits.size() && !(value <= limits[k])) ++k;
        counts[k] += 1.0F;
    }
    for (float& count : counts) count = count / static_cast<float>(values.size()) * 100.0F;
    return counts;
}

// The limits: 0, 1, 2, ... for pass counts; otherwise 21 from the smallest on by the 20th part of the range.
inline std::vector<float> plain_limits(bool are_passes, float smallest, float largest) {
    std::vector<float> limits;
    const int count = are_passes ? static_cast<int>(largest) + 2 : 21;
    const float step = are_passes ? 1.0F : (largest - smallest) / 20.0F;
    float limit = are_passes ? 0.0F : smallest;
    for (int k = 0; k < count; ++k, limit += step) limits.push_back(limit);
    return limits;
}

} // namespace fuzz
