// Columns of numbers become the library's records; what no record can hold is found and named by row.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include <nanobind/nanobind.h>

#include <qmx_ic.h>

#include "arrays.hpp"

namespace qmx_python {

void bind_records(nanobind::module_& module);

// What an analysis asks of its records beyond a value.
struct wanted_points {
    bool positions = false;                       // finite ones
    bool whole_values = false;                    // pass counts within 32 bits
    double largest_value = 3.4028234663852886e38; // of 32 bits
};

// The records that Python names: an array of them, read where it is, or a tuple of columns (x, y, value,
// pass), each an array of numbers or None, and the pass of all rows where there is no such column. Throws
// ValueError for columns of different length, and for a pass that is no whole number of 32 bits.
class point_source {
public:
    explicit point_source(nanobind::handle named);
    std::span<const t_icdata> records() const { return records_; }

private:
    std::optional<held_array> held_;
    std::unique_ptr<t_icdata[]> made_;
    std::span<const t_icdata> records_;
};

// Those without a value (NaN) are left out; the caller's own memory where all have one. Throws
// ValueError, naming the row, for a value or position that the library cannot take.
class usable_points {
public:
    usable_points(nanobind::handle named, const wanted_points& wanted);
    std::span<const t_icdata> points() const { return points_; }
    std::int32_t count() const { return static_cast<std::int32_t>(points_.size()); }
    std::int64_t missing() const { return missing_; }

private:
    point_source source_;
    std::span<const t_icdata> points_;
    std::vector<t_icdata> kept_;
    std::int64_t missing_ = 0;
};

} // namespace qmx_python
