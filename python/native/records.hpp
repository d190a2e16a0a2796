// Columns of numbers become the library's records; what no record can hold is found and named by row.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include <nanobind/nanobind.h>

#include <qmx_ic.h>

namespace qmx_python {

void bind_records(nanobind::module_& module);

// What an analysis asks of its records beyond a value.
struct wanted_points {
    bool positions = false;                       // finite ones
    bool whole_values = false;                    // pass counts within 32 bits
    double largest_value = 3.4028234663852886e38; // of 32 bits
};

// Records without those that have no value (NaN); the caller's own memory where all have one. Throws
// ValueError, naming the row, for a value or position that the library cannot take.
class usable_points {
public:
    usable_points(std::span<const t_icdata> records, const wanted_points& wanted);
    std::span<const t_icdata> points() const { return points_; }
    std::int32_t count() const { return static_cast<std::int32_t>(points_.size()); }
    std::int64_t missing() const { return missing_; }

private:
    std::span<const t_icdata> points_;
    std::vector<t_icdata> kept_;
    std::int64_t missing_ = 0;
};

} // namespace qmx_python
