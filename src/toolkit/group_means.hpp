// Means of several groups of values at once, in one sweep and without rounding on the way.
#pragma once

#include "base/work_array.hpp"
#include "numeric/statistics/long_number.hpp"

namespace qmx {

struct grouped_value {
    numeric::u64 group; // from 0
    f32 value;
};

// Sums of f32 values, group by group. The order of the values has no influence, and the mean of a
// group is the one that imsl_uvsta finds.
//
// Values of ordinary size are added as whole numbers of a common unit, which costs one addition. Those
// that are no such whole number or too large for it are added digit by digit: too much for all values,
// but not for the odd one. NaN are counted, and otherwise passed over.
class group_sums {
public:
    // Groups are numbered from 0. At most most_values values, fewer than 2^31, will be added; those
    // up to four times the usual magnitude are added quickly. Tests as false when memory ran out.
    group_sums(i64 groups, i64 most_values, f32 usual_magnitude);
    explicit operator bool() const { return cells_ && apart_; }

    // Adds the values that read(i) hands out, with their groups, for i from 0 on. Values of groups that
    // do not exist are passed over.
    template <class Read> void add_each(i64 count, Read read) {
        // In registers, where members that the cells might overlap could not stay.
        const f64 anchor = scale_.anchor;
        const numeric::u64 least_bits = least_bits_;
        const numeric::u64 most_units = most_units_;
        const auto groups = static_cast<numeric::u64>(apart_.size());
        cell* const cells = cells_.data();
        for (i64 i = 0; i < count; ++i) {
            const grouped_value next = read(i);
            if (next.group >= groups) continue;
            const f64 wide{next.value};
            const f64 lifted = wide + anchor;
            const numeric::u64 units = std::bit_cast<numeric::u64>(lifted) - least_bits;
            if (units < most_units && lifted - anchor == wide) {
                cell& each = cells[next.group * turns + static_cast<numeric::u64>(i) % turns];
                each.units += units;
                ++each.values;
            } else {
                add_apart(next.group, next.value);
            }
        }
    }

    // Values added so far, NaN among them.
    i64 values(i64 group) const;
    // Mean of those that are numbers; 0 without any, infinite or NaN with an infinite one.
    f32 mean(i64 group) const;

private:
    // A sum of units, each raised to be positive.
    struct cell {
        numeric::u64 units;
        numeric::u64 values;
    };
    struct apart {
        numeric::long_number sum;
        i64 values;
        i64 missing;
        bool holds_infinity[2]; // minus, plus
    };

    // Neighbours are often of one group and would wait for each other's sum: they take turns.
    static constexpr numeric::u64 turns = 4;

    cell total(i64 group) const;
    void add_apart(numeric::u64 group, f32 value);

    i32 unit_bits_; // units of a value stay below 2^unit_bits, so that no sum overflows
    numeric::fixed_point_scale scale_;
    numeric::u64 least_bits_; // of a lifted value
    numeric::u64 most_units_;
    work_array<cell> cells_;
    work_array<apart> apart_;
};

} // namespace qmx
