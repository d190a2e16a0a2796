// Working storage that frees itself and tests as false when memory ran out.
#pragma once

#include "base/array_view.hpp"

#include <algorithm>
#include <memory>
#include <new>
#include <type_traits>

namespace qmx {

// Tests as false only when memory ran out: an empty array is valid. Elements are uninitialised
// unless a value to fill them with is given.
template <class T> class work_array {
    static_assert(std::is_trivially_copyable_v<T>);

public:
    work_array() = default;
    explicit work_array(i64 count) : extent_(count > 0 ? count : 0) {
        constexpr i64 most = std::numeric_limits<i64>::max() / static_cast<i64>(sizeof(T));
        if (extent_ > 0 && extent_ <= most)
            elements_.reset(new (std::nothrow) T[static_cast<std::size_t>(extent_)]);
    }
    work_array(i64 count, const T& value) : work_array(count) {
        if (elements_) std::fill_n(elements_.get(), extent_, value);
    }

    explicit operator bool() const { return elements_ != nullptr || extent_ == 0; }
    T* data() const { return elements_.get(); }
    i64 size() const { return extent_; }
    T* begin() const { return data(); }
    T* end() const { return data() + extent_; }
    T& operator[](i64 index) const { return elements_[static_cast<std::size_t>(index)]; } // from 0
    array_view<T> view() const { return {data(), extent_}; }                              // from 1

private:
    std::unique_ptr<T[]> elements_;
    i64 extent_ = 0;
};

} // namespace qmx
