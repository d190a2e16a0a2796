#include "numeric/statistics/exact_mean.hpp"

#include "numeric/arithmetic/fixed_point.hpp"

#include <array>

namespace qmx::numeric {
namespace {

constexpr i32 least_exponent = -149; // every f32 is a whole number of these units, 2^-149

// A number of units 2^-149 in digits of base 2^32, least first, with room for the sum of 2^31 of the
// largest values. The three digits in front of the units take the fraction of a quotient.
constexpr i32 fraction_digits = 3;
constexpr i32 whole_digits = 10;
constexpr i32 all_digits = fraction_digits + whole_digits;

class long_number {
public:
    // Adds value * 2^shift units; shift >= 0, |value| < 2^62.
    void add(i64 value, i32 shift) {
        const i32 at = fraction_digits + shift / 32;
        const i32 by = shift % 32;
        add_split(at, (value & 0xffffffff) << by);
        add_split(at + 1, (value >> 32) * (i64{1} << by));
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
    static std::size_t at(i32 index) { return static_cast<std::size_t>(index); }

    // |part| < 2^63. Each digit receives less than 2^32 in magnitude at a time, a few hundred times.
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
    // Leaves the sign, 0 or -1, to the top digit and returns it.
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

    // 53 bits down from the given one, which counts from 0 at the least; what lies below 0 is 0.
    u64 bits_from(i32 top) const {
        u64 bits = 0;
        for (i32 bit = top; bit > top - 53; --bit) {
            const bool set = bit >= 0 && ((digit_[at(bit / 32)] >> (bit % 32)) & 1) != 0;
            bits = (bits << 1) | (set ? 1U : 0U);
        }
        return bits;
    }
    bool any_below(i32 bit) const {
        for (i32 i = 0; i < bit; ++i)
            if (((digit_[at(i / 32)] >> (i % 32)) & 1) != 0) return true;
        return false;
    }

    exact_mean leading_bits(bool negative, bool more) const {
        i32 top = 32 * all_digits - 1;
        while (top >= 0 && ((digit_[at(top / 32)] >> (top % 32)) & 1) == 0) --top;
        if (top < 0) return {};
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

// Adds the values in units of the scale. False if some value is no whole number of them.
bool add_in_units(const f32* x, i64 n, const fixed_point_scale& scale, wide_integer& sum) {
    const f64 anchor = scale.anchor;
    for (i64 start = 0; start < n; start += fixed_point_block) {
        const i64 length = std::min(fixed_point_block, n - start);
        const f32* block = x + start;
        u64 total = 0;
        u64 misfit = 0;
        for (i64 i = 0; i < length; ++i) {
            const f64 value = zero_if_nan(f64{block[i]}, block[i]);
            const f64 lifted = value + anchor;
            total += std::bit_cast<u64>(lifted);
            misfit |= std::bit_cast<u64>((lifted - anchor) - value);
        }
        if (misfit != 0) return false;
        sum.add(scale.units_of(total, length));
    }
    return true;
}

// One sum for each exponent; four sets, since neighbours of one exponent would wait for each other.
struct exponent_sums {
    static constexpr std::size_t sets = 4;
    std::array<std::array<i64, 256>, sets> sum{};

    void add(std::size_t set, f32 value) {
        const u32 bits = std::bit_cast<u32>(value);
        const u32 exponent = (bits >> 23) & 255;
        const u32 fraction = bits & 0x7fffff;
        const i64 magnitude = exponent == 0 ? i64{fraction} : i64{fraction | 0x800000};
        sum[set][exponent] += (bits >> 31) != 0 ? -magnitude : magnitude;
    }
};

long_number sum_by_exponent(const f32* x, i64 n) {
    exponent_sums sums;
    i64 i = 0;
    for (; i + 4 <= n; i += 4)
        for (std::size_t set = 0; set < exponent_sums::sets; ++set)
            sums.add(set, x[i + static_cast<i64>(set)]);
    for (; i < n; ++i) sums.add(0, x[i]);

    long_number total;
    for (const auto& set : sums.sum)
        for (std::size_t exponent = 0; exponent < 255; ++exponent) // 255: what is not a number
            if (set[exponent] != 0)
                total.add(set[exponent], exponent == 0 ? 0 : static_cast<i32>(exponent) - 1);
    return total;
}

} // namespace

value_range range_of(const f32* x, i64 n) {
    // Independent lanes: the comparisons of one value need not wait for those of the last.
    constexpr i64 lanes = 16;
    constexpr f32 beyond = std::numeric_limits<f32>::infinity();
    std::array<f32, lanes> lowest;
    std::array<f32, lanes> highest;
    std::array<i32, lanes> numbers{};
    lowest.fill(beyond);
    highest.fill(-beyond);
    const auto look = [&](std::size_t lane, f32 value) {
        lowest[lane] = value < lowest[lane] ? value : lowest[lane];
        highest[lane] = value > highest[lane] ? value : highest[lane];
        numbers[lane] += value == value ? 1 : 0;
    };
    i64 i = 0;
    for (; i + lanes <= n; i += lanes)
        for (std::size_t lane = 0; lane < lanes; ++lane) look(lane, x[i + static_cast<i64>(lane)]);
    for (; i < n; ++i) look(0, x[i]);

    value_range range;
    for (const i32 number : numbers) range.count += number;
    if (range.count > 0) {
        range.lowest = *std::min_element(lowest.begin(), lowest.end());
        range.highest = *std::max_element(highest.begin(), highest.end());
    }
    return range;
}

exact_mean mean_of(const f32* x, i64 n, const value_range& range) {
    const f64 magnitude = std::max(-f64{range.lowest}, f64{range.highest});
    const auto scale = fixed_point_scale::for_terms_up_to(magnitude, least_exponent);
    wide_integer sum;
    if (add_in_units(x, n, scale, sum)) {
        long_number total;
        total.add(sum.low, scale.exponent - least_exponent);
        total.add(sum.high, scale.exponent - least_exponent + 32);
        return total.over(range.count);
    }
    return sum_by_exponent(x, n).over(range.count);
}

} // namespace qmx::numeric
