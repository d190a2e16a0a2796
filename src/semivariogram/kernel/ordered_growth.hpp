// What a sum grows by when rows of terms that are not negative are added to it, one term after the
// other, found for each row apart from the others.
//
// Where no addition rounds, their order does not matter. Else take a sum S between 2^e and 2^(e+1),
// whose last bit counts 2^(e-52) = u. As long as it stays below 2^(e+1), S + m is S plus m rounded to a
// multiple of u, except that a tie goes to the even multiple. What S grows by therefore depends on
// nothing but the parity of S / u: a row summed twice, from 2^e and from 2^e + u, tells its growth in
// either case. Where a row carries the sum to 2^(e+1) it has to be done one term after the other, and
// the rows behind it again from 2^(e+1).
#pragma once

#include "semivariogram/kernel/pair_kernel.hpp"

#include <algorithm>
#include <bit>
#include <cmath>

namespace qmx::ordered_growth {

// The bits of a positive f64 count its last places, through all powers of two.
inline constexpr std::uint64_t fraction_bits = (std::uint64_t{1} << 52) - 1;

// The power of two that a positive sum has reached, and the next.
inline f64 power_of(f64 sum) {
    return std::bit_cast<f64>(std::bit_cast<std::uint64_t>(sum) & ~fraction_bits);
}
inline f64 next_power(f64 sum) {
    return std::bit_cast<f64>((std::bit_cast<std::uint64_t>(sum) | fraction_bits) + 1);
}

// Starts sums from a sum's power of two and, one unit apart, the next.
inline void begin_sums(pair_kernel::two_starts<f64>& sums, f64 sum) {
    const std::uint64_t even = std::bit_cast<std::uint64_t>(power_of(sum));
    sums.even = std::bit_cast<f64>(even);
    sums.odd = std::bit_cast<f64>(even + 1);
}
inline void begin_sums(pair_kernel::two_starts<pair_kernel::lanes_of_sums>& lanes, f64 sum) {
    pair_kernel::two_starts<f64> each;
    begin_sums(each, sum);
    std::fill_n(lanes.even, pair_kernel::most_lanes, each.even);
    std::fill_n(lanes.odd, pair_kernel::most_lanes, each.odd);
}

// Growth of one row, in units, from an even sum and from an odd one.
struct row_growth {
    std::uint64_t from_even, from_odd;
};

// Of sums that were started from this power of two.
inline row_growth growth_of(f64 even, f64 odd, f64 power) {
    const std::uint64_t units = std::bit_cast<std::uint64_t>(power);
    return {std::bit_cast<std::uint64_t>(even) - units,
            std::bit_cast<std::uint64_t>(odd) - (units + 1)};
}

// Adds rows from row `from` on, as many as leave the sum below the next power of two. Returns where it
// stopped. read(row) is the row's growth above the sum's power.
template <class Read> i64 add_rows(f64& sum, i64 from, i64 rows, Read read) {
    std::uint64_t total = std::bit_cast<std::uint64_t>(sum);
    const std::uint64_t power = total & ~fraction_bits;
    i64 row = from;
    for (; row < rows; ++row) {
        const row_growth growth = read(row);
        const std::uint64_t next = total + ((total & 1) != 0 ? growth.from_odd : growth.from_even);
        if ((next & ~fraction_bits) != power) break;
        total = next;
    }
    sum = std::bit_cast<f64>(total);
    return row;
}

// Distances of one class share a narrow range. As f32 they are multiples of one small unit, and as long
// as their sum stays below this one, 2^53 of it, no addition of f64 rounds. 0 for classes that reach
// down to distance 0 and have no such unit.
inline f64 exact_distance_sum(const lag_classes& classes, i32 k) {
    if (k <= first_distance_class) return 0;
    const f32 least = classes.lower[k];
    const f32 unit = std::nextafter(least, 2 * least) - least;
    return std::ldexp(static_cast<f64>(unit), 53);
}

// A row's growth in one number. The two sums of a row stay one unit apart, or two, or none: a tie moves
// them together or apart, never both.
inline constexpr std::uint64_t no_growth = 1;
inline std::uint64_t packed(const row_growth& growth) {
    const std::uint64_t apart = growth.from_odd + 1 - growth.from_even;
    // A row too long for it, which carries any sum to the next power.
    if (growth.from_even > fraction_bits || apart > 2) return (fraction_bits + 1) << 2;
    return growth.from_even << 2 | apart;
}
inline row_growth unpacked(std::uint64_t growth) {
    return {growth >> 2, (growth >> 2) + (growth & 3) - 1};
}

} // namespace qmx::ordered_growth
