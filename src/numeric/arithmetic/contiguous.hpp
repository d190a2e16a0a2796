// Contiguous elements out of a view that may be strided.
#pragma once

#include "base/array_view.hpp"
#include "base/work_array.hpp"

namespace qmx::numeric {

// The elements of a view, next to each other: the view's own memory where it is contiguous, a copy
// where it is not. Tests as false when memory ran out. The view must outlive it.
class contiguous_elements {
public:
    explicit contiguous_elements(const array_view<const f32>& view);

    explicit operator bool() const { return static_cast<bool>(copy_); }
    const f32* data() const { return first_; }

private:
    work_array<f32> copy_; // empty when the view itself serves
    const f32* first_;
};

} // namespace qmx::numeric
