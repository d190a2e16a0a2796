// An exact sum of f32 values, and its quotient.
#pragma once

#include "numeric/arithmetic/fixed_point.hpp"
#include "numeric/statistics/exact_mean.hpp"

#include <array>

namespace qmx::numeric {

// A fixed-point number in units of 2^-149 with digits of base 2^32, least significant first. It
// holds the sum of 2^31 of the largest values; three digits below the units take the fraction of a
// quotient.
class long_number {
public:
    static constexpr i32 least_exponent = -149; // every f32 is a whole number of these units

    // Adds value * 2^shift units; shift >= 0, |value| < 2^62.
    void add(i64 value, i32 shift) {
        const i32 at = fraction_digits + shift / 32;
        const i32 by = shift % 32;
        add_split(at, (value & 0xffffffff) << by);
        add_split(at + 1, (value >> 32) * (i64{1} << by));
    }

    // Adds a finite value; 2^31 times at most.
    void add(f32 value) {
        const u32 bits = std::bit_cast<u32>(value);
        const i32 exponent = static_cast<i32>((bits >> 23) & 255);
        const i64 fraction = bits & 0x7fffff;
        const i64 magnitude = exponent == 0 ? fraction : fraction | 0x800000;
        const i32 shift = exponent == 0 ? 0 : exponent - 1;
        const i64 part = magnitude << (shift % 32);
        const i64 sign = (bits >> 31) != 0 ? -1 : 1;
        digit_[at(fraction_digits + shift / 32)] += sign * (part & 0xffffffff);
        digit_[at(fraction_digits + shift / 32 + 1)] += sign * (part >> 32);
    }

    // This number over a divisor below 2^31.
    exact_mean over(i64 divisor) {
        const bool negative = make_magnitude();
        u64 rest = 0;
        for (i32 i = all_digits - 1; i >= 0; --i) {
            const u64 part = (rest << 32) | static_cast<u64>(digit_[at(i)]);
            digit_[at(i)] = static_cast<i64>(part / static_cast<u64>(divisor));
            rest = part % static_cast<u64>(divisor);
        }
        return leading_bits(negative, rest != 0);
    }

private:
    static constexpr i32 fraction_digits = 3;
    static constexpr i32 whole_digits = 10;
    static constexpr i32 all_digits = fraction_digits + whole_digits;

    static std::size_t at(i32 index) { return static_cast<std::size_t>(index); }

    // |part| < 2^63. Each digit receives less than 2^32 in magnitude at a time, a few hundred
    // times.
    void add_split(i32 index, i64 part) {
        digit_[at(index)] += part & 0xffffffff;
        digit_[at(index + 1)] += part >> 32;
    }

    // Carries until all digits are from 0 to 2^32 - 1; returns whether the number was negative.
    bool make_magnitude() {
        if (carry() >= 0) return false;
        for (i64& digit : digit_) digit = -digit;
        carry();
        return true;
    }
    // Carries and returns the sign, 0 or -1, which the top digit keeps.
    i64 carry() {
        i64 over = 0;
        for (i64& digit : digit_) {
            const i64 sum = digit + over;
            digit = sum & 0xffffffff;
            over = sum >> 32;
        }
        if (over < 0) digit_.back() += over * (i64{1} << 32);
        return over;
    }

    // The 53 bits from the given one downwards; bit 0 is the least, bits below it are 0.
    u64 bits_from(i32 top) const {
        const i32 low = top - 52;
        u64 bits = 0;
        for (i32 i = top < 0 ? -1 : top / 32; i >= 0 && 32 * i + 31 >= low; --i) {
            const u64 digit = static_cast<u64>(digit_[at(i)]);
            const i32 by = 32 * i - low;
            bits |= by >= 0 ? digit << by : digit >> -by;
        }
        return bits & ((u64{1} << 53) - 1);
    }
    bool any_below(i32 bit) const {
        if (bit <= 0) return false;
        u64 found = static_cast<u64>(digit_[at(bit / 32)]) & ((u64{1} << (bit % 32)) - 1);
        for (i32 i = 0; i < bit / 32; ++i) found |= static_cast<u64>(digit_[at(i)]);
        return found != 0;
    }

    exact_mean leading_bits(bool negative, bool more) const {
        i32 leading = all_digits - 1;
        while (leading >= 0 && digit_[at(leading)] == 0) --leading;
        if (leading < 0) return {};
        const auto width = std::bit_width(static_cast<u64>(digit_[at(leading)]));
        const i32 top = 32 * leading + static_cast<i32>(width) - 1;
        constexpr i32 scale = least_exponent - 32 * fraction_digits;
        const f64 sign = negative ? -1.0 : 1.0;
        const u64 head = bits_from(top);
        const u64 odd = more || any_below(top - 52) ? 1U : 0U;
        return {sign * std::ldexp(static_cast<f64>(head), top - 52 + scale),
                sign * std::ldexp(static_cast<f64>(bits_from(top - 53)), top - 105 + scale),
                sign * std::ldexp(static_cast<f64>(head | odd), top - 52 + scale)};
    }

    std::array<i64, all_digits + 2> digit_{};
};

} // namespace qmx::numeric
