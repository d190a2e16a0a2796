// Sums of f64 terms in whole numbers of a unit, so that they do not depend on the order of the terms.
// A term added to an anchor of 1.5 * 2^52 units is rounded to a whole number of units, and the bit
// pattern of the result is that of the anchor plus this number: adding the patterns as integers loses
// nothing, at the cost of one addition each. (The anchor is that of J. Demmel and H. D. Nguyen, "Parallel
// reproducible summation", 2015.)
#pragma once

#include "base/base_types.hpp"

#include <algorithm>
#include <bit>
#include <cmath>

namespace qmx::numeric {

using u32 = std::uint32_t;
using u64 = std::uint64_t;

// The sum of this many terms, each below 2^51 units, stays within 63 bits.
inline constexpr i64 fixed_point_block = 2048;

// The value formed from x, or 0.0 where x is a NaN, without a branch. (Comparing the f32 is what compilers
// turn into vector code.)
inline f64 zero_if_nan(f64 value, f32 x) {
    const u64 kept = x == x ? ~u64{0} : u64{0};
    return std::bit_cast<f64>(std::bit_cast<u64>(value) & kept);
}

// Unit and anchor for terms up to a given magnitude.
struct fixed_point_scale {
    i32 exponent; // of the unit, a power of two
    f64 anchor;
    u64 pattern; // of the anchor

    explicit fixed_point_scale(i32 unit_exponent)
        : exponent(unit_exponent), anchor(std::ldexp(1.5, 52 + unit_exponent)),
          pattern(std::bit_cast<u64>(anchor)) {}

    static fixed_point_scale for_terms_up_to(f64 magnitude, i32 least_exponent = -900) {
        i32 above = 0; // magnitude < 2^above
        std::frexp(magnitude, &above);
        return fixed_point_scale(std::max(above - 51, least_exponent));
    }
    // The bits of term + anchor: the term in units, once the pattern is taken off.
    u64 lifted_bits(f64 term) const { return std::bit_cast<u64>(term + anchor); }
    // The units of a block of terms out of the sum of their bits.
    i64 units_of(u64 sum_of_bits, i64 terms) const {
        return static_cast<i64>(sum_of_bits - static_cast<u64>(terms) * pattern);
    }
    f64 unit() const { return std::ldexp(1.0, exponent); }
};

// A sum too wide for 64 bits, as high * 2^32 + low; for up to 2^31 blocks.
struct wide_integer {
    i64 high = 0;
    i64 low = 0;

    void add(i64 block) {
        high += block >> 32;
        low += block & 0xffffffff;
    }
    f64 value() const { return static_cast<f64>(high) * 0x1p32 + static_cast<f64>(low); }
};

} // namespace qmx::numeric
