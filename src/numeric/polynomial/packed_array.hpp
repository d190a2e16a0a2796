// A view's elements as a contiguous array, for routines that take plain pointers.
#pragma once

#include "base/array_view.hpp"
#include "base/work_array.hpp"

#include <type_traits>

namespace qmx::numeric {

// The view's own memory where it is contiguous, else a copy; store_back writes a copy back to the
// view. Tests as false when memory ran out.
template <class T> class packed_array {
public:
    explicit packed_array(const array_view<T>& view)
        : view_(view), copy_(view.is_contiguous() ? 0 : view.extent) {
        if (is_copied() && copy_)
            for (i64 i = 0; i < view_.extent; ++i) copy_[i] = view_(i + 1);
    }

    explicit operator bool() const { return static_cast<bool>(copy_); }
    T* data() const { return is_copied() ? copy_.data() : view_.base; }
    void store_back() const {
        if (is_copied())
            for (i64 i = 0; i < view_.extent; ++i) view_(i + 1) = copy_[i];
    }

private:
    bool is_copied() const { return !view_.is_contiguous(); }

    array_view<T> view_;
    work_array<std::remove_const_t<T>> copy_;
};

} // namespace qmx::numeric
