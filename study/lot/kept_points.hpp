// Points of a lot that stay, in their order, with the numbers of their records: stretch by stretch.
#pragma once

#include <algorithm>
#include <cstddef>
#include <utility>

#include "study/lot/lot_reader.hpp"

namespace qmx_study {

class kept_points {
public:
    explicit kept_points(lot& of) : points(of) {}

    // Those from one place to before another, behind those that were kept before.
    void keep(std::size_t first, std::size_t end) {
        const auto at = [&](std::size_t place) {
            return points.points.begin() + static_cast<std::ptrdiff_t>(place);
        };
        if (first != kept) std::copy(at(first), at(end), at(kept));
        records.append_part(points.records, first, end);
        kept += end - first;
    }
    // Leaves the others out, and tells how many they were.
    std::size_t settle() {
        const std::size_t others = points.points.size() - kept;
        points.points.resize(kept);
        points.records = std::move(records);
        return others;
    }

private:
    lot& points;
    record_numbers records;
    std::size_t kept = 0;
};

} // namespace qmx_study
