// One block of working storage, handed out piece by piece.
#pragma once

#include "base/base_types.hpp"

#include <cstddef>
#include <type_traits>

namespace qmx::numeric {

// Hands out consecutive pieces of a block. Without a block it hands out null pointers and only
// counts, so that the code that shares out the storage is also the code that knows its size.
class storage_plan {
public:
    storage_plan() = default;
    explicit storage_plan(std::byte* block) : block_(block) {}

    template <class T> T* take(i64 rows, i64 columns = 1) {
        static_assert(std::is_trivially_copyable_v<T> && alignof(T) <= alignment);
        T* piece = block_ != nullptr ? reinterpret_cast<T*>(block_ + bytes_) : nullptr;
        add(rows, columns, sizeof(T));
        return piece;
    }
    // Bytes handed out so far; beyond_all_memory where they are more than could ever be had.
    i64 bytes() const { return bytes_; }

    static constexpr i64 beyond_all_memory = i64{1} << 61;

private:
    static constexpr i64 alignment = alignof(f64);

    void add(i64 rows, i64 columns, i64 element) {
        if (rows < 1 || columns < 1) return;
        const i64 room = beyond_all_memory - bytes_;
        if (rows > (room - alignment) / element / columns) {
            bytes_ = beyond_all_memory;
            return;
        }
        const i64 bytes = rows * columns * element;
        bytes_ += (bytes + alignment - 1) / alignment * alignment;
    }

    std::byte* block_ = nullptr;
    i64 bytes_ = 0;
};

} // namespace qmx::numeric
