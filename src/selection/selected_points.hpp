// The positions of the points that a selection found, written straight into the host's array.
#pragma once

#include "base/array_view.hpp"

#include <algorithm>
#include <cstdint>

namespace qmx {

using selected_flag = std::uint8_t; // 1 for a selected point, else 0

// Points are classified in blocks of at most so many.
inline constexpr i32 most_points_at_once = 512;

// Appends ZERO-based positions to an array that has room for all points; what lies past `count` is
// left alone.
struct selected_points {
    i32& count;
    const array_view<i32>& indices;

    // `size` successive points, the first of which has position `start`.
    void append_all(i32 start, i32 size) const {
        if (indices.is_contiguous()) {
            i32* const to = indices.base + count;
            for (i32 i = 0; i < size; ++i) to[i] = start + i;
        } else {
            for (i32 i = 0; i < size; ++i) indices(count + i + 1) = start + i;
        }
        count += size;
    }

    // Those of at most most_points_at_once points for which is_selected(0), is_selected(1), ...
    template <class IsSelected>
    void append_some(i32 start, i32 size, IsSelected is_selected) const {
        // All are written and some of them kept: no branch that goes either way.
        i32 found = 0, positions[most_points_at_once + 1];
        for (i32 i = 0; i < size; ++i) {
            positions[found] = start + i;
            found += is_selected(i);
        }
        if (indices.is_contiguous())
            std::copy_n(positions, found, indices.base + count);
        else
            for (i32 i = 0; i < found; ++i) indices(count + i + 1) = positions[i];
        count += found;
    }
};

} // namespace qmx
