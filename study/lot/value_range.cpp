#include "study/lot/value_range.hpp"

#include <cmath>
#include <limits>

#include <fmt/format.h>

#include "study/base/errors.hpp"

namespace qmx_study {

void refuse_values_too_large(const table_source& source, const lot& points) {
    constexpr double largest = std::numeric_limits<float>::max();
    for (std::size_t i = 0; i < points.points.size(); ++i)
        if (!(std::fabs(points.points[i].d_val) <= largest))
            throw usage_error(fmt::format("{}, {}, column {}: {} is beyond the range of 32-bit "
                                          "numbers; leave the row out with --where or name the "
                                          "value with --missing",
                                          source.file, source.place(points.records[i]),
                                          points.value.name, points.points[i].d_val));
}

} // namespace qmx_study
