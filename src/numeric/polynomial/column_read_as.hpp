// Columns of numbers held in f32 or wider, read as one type; and the extremes of a column.
#pragma once

#include "base/base_types.hpp"

#include <cmath>

namespace qmx::numeric {

// Numbers held in f32 or in the type they are read as.
template <class Real> class column_read_as {
public:
    column_read_as() = default;
    column_read_as(const Real* elements) : wide_(elements) {}
    column_read_as(const f32* elements) : narrow_(elements) {}

    Real operator[](i64 index) const { // from 0
        return narrow_ != nullptr ? Real{narrow_[index]} : wide_[index];
    }
    // One of the two is null.
    const Real* wide() const { return wide_; }
    const f32* narrow() const { return narrow_; }
    // Calls act with a pointer to the elements in the type they are stored in.
    template <class Act> auto visit(Act act) const {
        return narrow_ != nullptr ? act(narrow_) : act(wide_);
    }

private:
    const Real* wide_ = nullptr;
    const f32* narrow_ = nullptr;
};

struct value_extent {
    f64 lowest = std::numeric_limits<f64>::infinity();
    f64 highest = -std::numeric_limits<f64>::infinity();

    bool is_known() const { return lowest <= highest; }
    bool is_constant() const { return lowest == highest; }
    bool is_finite() const { return std::isfinite(lowest) && std::isfinite(highest); }
};

} // namespace qmx::numeric
