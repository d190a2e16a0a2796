// A view of an array that the caller owns, with any stride. Inner routines take views instead of
// pointers.
#pragma once

#include "base/base_types.hpp"

#include <cstddef>
#include <type_traits>

namespace qmx {

// Elements of type T at a fixed distance in bytes, counted from 1.
template <class T> struct array_view {
    T* base = nullptr;
    i64 extent = 0;
    std::ptrdiff_t stride = sizeof(T);

    constexpr array_view() = default;
    constexpr array_view(T* first, i64 count, std::ptrdiff_t bytes = sizeof(T))
        : base(first), extent(count > 0 ? count : 0), stride(bytes) {}
    // A read-only view of a writable array.
    template <class U>
    requires std::is_same_v<const U, T>
    constexpr array_view(const array_view<U>& other)
        : base(other.base), extent(other.extent), stride(other.stride) {}

    T& operator()(i64 position) const {
        using byte = std::conditional_t<std::is_const_v<T>, const char, char>;
        // NOLINTNEXTLINE(clang-analyzer-core.uninitialized.UndefReturn): nobody asks an empty view
        return *reinterpret_cast<T*>(reinterpret_cast<byte*>(base) + (position - 1) * stride);
    }
    bool is_contiguous() const { return stride == sizeof(T) || extent < 2; }
};

// A count of 0 or less gives an empty view.
template <class T> constexpr array_view<T> view_of(T* first, i64 count) {
    return {first, count};
}

// One field of an array of records, without copying.
template <class Record, class Field>
auto column_of(Record* records, i64 count, Field std::remove_const_t<Record>::*field) {
    using element = std::conditional_t<std::is_const_v<Record>, const Field, Field>;
    element* first = count > 0 ? &(records->*field) : nullptr;
    return array_view<element>(first, count, sizeof(Record));
}

} // namespace qmx
