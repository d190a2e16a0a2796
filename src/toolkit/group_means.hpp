// Means of several groups of values in one sweep, from sums without rounding. For the compaction
// curve.
#pragma once

#include "base/work_array.hpp"
#include "numeric/statistics/long_number.hpp"

namespace qmx {

struct grouped_value {
    numeric::u64 group; // from 0
    f32 value;
};

// Exact sums of f32 values by group. The order of the values has no influence, and the mean of a
// group is the one that imsl_uvsta finds.
//
// Values of ordinary size are added as multiples of a common unit, which costs one addition. Values
// that are no such multiple, or too large, are added digit by digit, which is slow but rare. NaN
// are counted and otherwise ignored.
class group_sums {
public:
    // Groups are numbered from 0. At most most_values values, fewer than 2^31, will be added; those
    // up to four times the usual magnitude are fast. Tests as false when memory ran out.
    group_sums(i64 groups, i64 most_values, f32 usual_magnitude);
    explicit operator bool() const { return partial_sums_ && slow_sums_; }

    // Adds the values that read(i) returns with their groups, for i from 0 to count - 1. Those of
    // groups that do not exist are passed over, after leave_out(i). One function of its own: what it needs
    // stays in registers.
    template <class Read, class LeaveOut>
    [[gnu::noinline]] void add_each(i64 count, Read read, LeaveOut leave_out) {
        // Copies, which the compiler can keep in registers while the sums are written.
        const f64 anchor = scale_.anchor;
        const numeric::u64 least_bits = least_bits_;
        const numeric::u64 most_units = most_units_;
        const auto groups = static_cast<numeric::u64>(slow_sums_.size());
        partial_sum* const sums = partial_sums_.data();
        for (i64 i = 0; i < count; ++i) {
            const grouped_value next = read(i);
            if (next.group >= groups) {
                leave_out(i);
                continue;
            }
            const f64 wide{next.value};
            const f64 lifted = wide + anchor;
            const numeric::u64 units = std::bit_cast<numeric::u64>(lifted) - least_bits;
            if (units < most_units && lifted - anchor == wide) {
                partial_sum& each = sums[next.group * turns + static_cast<numeric::u64>(i) % turns];
                each.units += units;
                ++each.values;
            } else {
                add_slowly(next.group, next.value);
            }
        }
    }

    // Values added so far, NaN among them.
    i64 values(i64 group) const;
    // The mean of those that are numbers: 0 without any; infinite or NaN with infinite values.
    f32 mean(i64 group) const;

private:
    // A sum of values in units, each with an offset that makes it positive.
    struct partial_sum {
        numeric::u64 units;
        numeric::u64 values;
    };
    // The values that are added digit by digit, or only counted.
    struct slow_sum {
        numeric::long_number sum;
        i64 values;
        i64 missing;
        bool holds_infinity[2]; // minus, plus
    };

    // Successive values, often of one group, go to different partial sums, so that additions do not
    // wait for each other.
    static constexpr numeric::u64 turns = 4;

    partial_sum total(i64 group) const;
    void add_slowly(numeric::u64 group, f32 value);

    i32 unit_bits_; // units of a value stay below 2^unit_bits, so that no sum overflows
    numeric::fixed_point_scale scale_;
    numeric::u64 least_bits_; // of a value with its offset
    numeric::u64 most_units_;
    work_array<partial_sum> partial_sums_;
    work_array<slow_sum> slow_sums_;
};

} // namespace qmx
