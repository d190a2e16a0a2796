// Counting observations into classes, and the search of a class among cut points.
#pragma once

#include "base/base_types.hpp"

#include <cstring>

namespace qmx::numeric {

// Exact integer counts of K classes, kept in the memory of the f32 table that receives them at the
// end.
class class_counts {
public:
    class_counts(f32* table, i32 k) : table_(table), k_(k) {
        for (i32 i = 0; i < k; ++i) write(table + i, 0);
    }
    // One more observation, or several, in a class; classes are numbered from 1.
    void add(i32 number, std::uint32_t more = 1) const {
        f32* place = table_ + (number - 1);
        write(place, read(place) + more);
    }
    // Converts the counts to f32 in place.
    void finish() const {
        for (i32 i = 0; i < k_; ++i) table_[i] = static_cast<f32>(read(table_ + i));
    }

private:
    static std::uint32_t read(const f32* place) {
        std::uint32_t count;
        std::memcpy(&count, place, sizeof count);
        return count;
    }
    static void write(f32* place, std::uint32_t count) { std::memcpy(place, &count, sizeof count); }

    f32* table_;
    i32 k_;
};

// Counts n observations, none of them NaN, into k classes separated by k-1 strictly ascending cut
// points: class 1 + (number of cut points below the observation).
//
// A monotone bucket function, b(x) = (x - first) * scale truncated, leaves only the cut points of
// x's own bucket to compare with x: those of lower buckets are below x, those of higher buckets
// above it. Rounding in b therefore cannot move a value into another class.
void tally_by_cut_points(i64 n, const f32* x, i32 k, const f32* cut_points,
                         const class_counts& counts);

} // namespace qmx::numeric
