// Quicksort with a varying split fraction (R. C. Singleton, "An efficient algorithm for sorting
// with minimal storage", 1969).
#pragma once

#include "base/base_types.hpp"

#include <algorithm>
#include <type_traits>
#include <utility>

namespace qmx::numeric {

// The companion of a sort that carries no permutation.
struct no_permutation {};

namespace quicksort_detail {

inline constexpr i32 short_range = 11; // fewer elements than this beyond the first are inserted

// The keys and whatever moves with them, counted from 1.
template <class Key, class Permutation> struct sequence {
    static constexpr bool carries = !std::is_same_v<Permutation, no_permutation>;

    Key* keys;
    Permutation permutation;

    Key& key(i64 position) const { return keys[position - 1]; }
    void exchange(i64 a, i64 b) const {
        std::swap(key(a), key(b));
        if constexpr (carries) std::swap(permutation[a - 1], permutation[b - 1]);
    }

    // Puts the median of the three keys at middle, none greater at first, none less at last.
    void order_three(i64 first, i64 middle, i64 last) const {
        if (key(first) > key(middle)) exchange(first, middle);
        if (key(last) < key(middle)) {
            exchange(last, middle);
            if (key(first) > key(middle)) exchange(first, middle);
        }
    }

    // Insertion sort. It stops at the start of the range and needs no sentinel, so a NaN, which
    // compares false with every key, cannot take it out of the range.
    void insert_each(i64 first, i64 last) const {
        for (i64 next = first + 1; next <= last; ++next) {
            const Key moving = key(next);
            if (!(key(next - 1) > moving)) continue;
            i64 hole = next;
            if constexpr (carries) {
                const auto companion = permutation[next - 1];
                do {
                    key(hole) = key(hole - 1);
                    permutation[hole - 1] = permutation[hole - 2];
                } while (--hole > first && key(hole - 1) > moving);
                permutation[hole - 1] = companion;
            } else {
                do key(hole) = key(hole - 1);
                while (--hole > first && key(hole - 1) > moving);
            }
            key(hole) = moving;
        }
    }
};

struct range {
    i64 first, last;
};

} // namespace quicksort_detail

// Sorts n keys ascending, in place, and applies each exchange to the permutation as well (a pointer
// to n entries, or no_permutation). Not stable: the final order of equal keys follows from the
// exact sequence of steps, and sums taken in sorted order depend on it. Do not change the steps.
//
// The pivot's position is computed in f32. At most 31 ranges are pending, as the shorter part, at
// most half, is sorted first. Time grows as n log n, also for keys that are sorted, descending, all
// equal, of two values, or rising and then falling. An adversarial order makes it quadratic: 50,000
// such keys take a sixth of a second, 1,000,000 a minute.
template <class Key, class Permutation> void quicksort(Key* keys, Permutation permutation, i32 n) {
    using namespace quicksort_detail;
    const sequence<Key, Permutation> all{keys, permutation};
    range pending[32];
    i32 waiting = 0;
    f32 fraction = 0.375F;
    range now{1, n};
    for (;;) {
        // The range that begins at 1 is partitioned down to single keys, whatever its length.
        while (now.last - now.first >= short_range || (now.first == 1 && now.last > 1)) {
            fraction += fraction > 0.5898437F ? -0.21875F : 0.0390625F;
            const f32 place =
                static_cast<f32>(now.first) + static_cast<f32>(now.last - now.first) * fraction;
            // Beyond position 2^24 rounding in f32 may leave a short range.
            const i64 middle = std::clamp(static_cast<i64>(place), now.first, now.last);
            all.order_three(now.first, middle, now.last);
            const Key pivot = all.key(middle);
            i64 low = now.first;
            i64 high = now.last;
            for (;;) {
                do --high;
                while (all.key(high) > pivot);
                do ++low;
                while (all.key(low) < pivot);
                if (low > high) break;
                if (all.key(low) != all.key(high)) all.exchange(low, high);
            }
            const range below{now.first, high};
            const range above{low, now.last};
            const bool below_is_longer = below.last - below.first > above.last - above.first;
            pending[waiting++] = below_is_longer ? below : above;
            now = below_is_longer ? above : below;
        }
        all.insert_each(now.first, now.last);
        if (waiting == 0) return;
        now = pending[--waiting];
    }
}

} // namespace qmx::numeric
