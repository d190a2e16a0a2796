// How rows of terms, none negative, are summed separately and joined to the sum that adding one term
// after the other gives.
//
// If no addition rounds, the order does not matter. Otherwise let the sum S lie between 2^e and 2^(e+1),
// with u = 2^(e-52) its unit in the last place. While S stays below 2^(e+1), S + m is S plus m rounded to
// a multiple of u, and only a tie depends on S: it goes to the even multiple. So what S grows by depends
// on the parity of S / u alone, and a row summed twice, from 2^e and from 2^e + u, gives its growth for
// both parities. A row that carries the sum to 2^(e+1) is added term by term, and the rows after it are
// summed again from 2^(e+1).
//
// Where each term is added twice, an even sum stays even: the second addition repeats the first, and a
// tie always goes to an even sum. Each term then adds twice its own rounding to a multiple of u, with
// ties to the even multiple, and no order matters below 2^(e+1): all rows may share one sum.
#pragma once

#include "semivariogram/kernel/pair_kernel.hpp"

#include <algorithm>
#include <bit>
#include <cmath>

namespace qmx::ordered_growth {

// The bits of a positive f64, read as an integer, count units in the last place across powers of two.
inline constexpr std::uint64_t fraction_bits = (std::uint64_t{1} << 52) - 1;

// The power of two that a positive sum has reached, and the next.
inline f64 power_of(f64 sum) {
    return std::bit_cast<f64>(std::bit_cast<std::uint64_t>(sum) & ~fraction_bits);
}
inline f64 next_power(f64 sum) {
    return std::bit_cast<f64>((std::bit_cast<std::uint64_t>(sum) | fraction_bits) + 1);
}

// Whether terms that are added twice to this sum may be summed in any order.
inline bool can_pool(f64 sum) {
    return std::isnormal(sum) && (std::bit_cast<std::uint64_t>(sum) & 1) == 0;
}

// Starts sums at a sum's power of two and one unit above it.
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

// Of sums that were started at this power of two.
inline row_growth growth_of(f64 even, f64 odd, f64 power) {
    const std::uint64_t units = std::bit_cast<std::uint64_t>(power);
    return {std::bit_cast<std::uint64_t>(even) - units,
            std::bit_cast<std::uint64_t>(odd) - (units + 1)};
}

// Adds rows from row `from` on, as long as the sum stays below the next power of two. Returns the first
// row that is not added. read(row) gives the growth of a row.
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

// The f32 distances of a class are multiples of one unit, that of its lower limit. While their sum stays
// below 2^53 units, the result, no addition of f64 rounds. 0 for classes that reach down to distance 0
// and have no such unit.
inline f64 exact_distance_sum(const lag_classes& classes, i32 k) {
    if (k <= first_distance_class) return 0;
    const f32 least = classes.lower[k];
    const f32 unit = std::nextafter(least, 2 * least) - least;
    return std::ldexp(static_cast<f64>(unit), 53);
}

// A row's growth in one number. The two sums of a row end zero, one or two units apart: a tie moves them
// together or apart.
inline constexpr std::uint64_t no_growth = 1;
inline std::uint64_t packed(const row_growth& growth) {
    const std::uint64_t apart = growth.from_odd + 1 - growth.from_even;
    // Too large: such a row carries any sum to the next power.
    if (growth.from_even > fraction_bits || apart > 2) return (fraction_bits + 1) << 2;
    return growth.from_even << 2 | apart;
}
// Of a row whose terms were added twice each, in another order than their own. A tie is one in any order,
// but how an odd sum takes it depends on the first: such a row carries odd sums to the next power.
inline std::uint64_t packed_without_order(const row_growth& growth) {
    if (growth.from_even > fraction_bits || growth.from_odd > fraction_bits)
        return (fraction_bits + 1) << 2;
    return growth.from_even << 2 | (growth.from_odd == growth.from_even ? 1U : 3U);
}
inline row_growth unpacked(std::uint64_t growth) {
    if ((growth & 3) == 3) return {growth >> 2, fraction_bits + 1};
    return {growth >> 2, (growth >> 2) + (growth & 3) - 1};
}

} // namespace qmx::ordered_growth
