#include "numeric/statistics/exact_mean.hpp"

#include "numeric/arithmetic/fixed_point.hpp"
#include "numeric/arithmetic/register_width.hpp"
#include "numeric/statistics/long_number.hpp"

#include <array>

namespace qmx::numeric {
namespace {

// Adds the values in units of the scale; fits becomes false if some value is not a whole number of
// units.
struct unit_sweep {
    QMX_INLINED static void run(const f32* x, i64 n, const fixed_point_scale& scale,
                                wide_integer& sum, bool& fits) {
        const f64 anchor = scale.anchor;
        for (i64 start = 0; start < n && fits; start += fixed_point_block) {
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
            fits = misfit == 0;
            sum.add(scale.units_of(total, length));
        }
    }
};

// One sum for each exponent, in four sets: consecutive values often share an exponent, and
// additions to one sum would wait for each other.
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
        for (std::size_t exponent = 0; exponent < 255; ++exponent) // 255: infinities and NaN
            if (set[exponent] != 0)
                total.add(set[exponent], exponent == 0 ? 0 : static_cast<i32>(exponent) - 1);
    return total;
}

// Independent lanes, so that comparisons of consecutive values do not wait for each other.
struct range_sweep {
    static constexpr std::size_t lanes = 16;
    std::array<f32, lanes> lowest, highest;
    std::array<i32, lanes> numbers;

    QMX_INLINED static void run(const f32* x, i64 n, range_sweep& found) {
        constexpr f32 beyond = std::numeric_limits<f32>::infinity();
        std::array<f32, lanes> lowest, highest;
        std::array<i32, lanes> numbers;
        for (std::size_t lane = 0; lane < lanes; ++lane) {
            lowest[lane] = beyond;
            highest[lane] = -beyond;
            numbers[lane] = 0;
        }
        // A NaN is replaced before it is compared for size, which would raise an exception.
        const auto see = [&](std::size_t lane, f32 value) {
            const bool is_number = value == value;
            const f32 low = is_number ? value : beyond;
            const f32 high = is_number ? value : -beyond;
            lowest[lane] = low < lowest[lane] ? low : lowest[lane];
            highest[lane] = high > highest[lane] ? high : highest[lane];
            numbers[lane] += is_number ? 1 : 0;
        };
        i64 i = 0;
        for (; i + static_cast<i64>(lanes) <= n; i += static_cast<i64>(lanes))
            for (std::size_t lane = 0; lane < lanes; ++lane)
                see(lane, x[i + static_cast<i64>(lane)]);
        for (; i < n; ++i) see(0, x[i]);
        found = {lowest, highest, numbers};
    }
};

} // namespace

value_range range_of(const f32* x, i64 n) {
    range_sweep found;
    run_loop<range_sweep>(x, n, found);
    value_range range;
    for (const i32 number : found.numbers) range.count += number;
    if (range.count > 0) {
        range.lowest = *std::min_element(found.lowest.begin(), found.lowest.end());
        range.highest = *std::max_element(found.highest.begin(), found.highest.end());
    }
    return range;
}

exact_mean mean_of(const f32* x, i64 n, const value_range& range) {
    const f64 magnitude = std::max(-f64{range.lowest}, f64{range.highest});
    const auto scale = fixed_point_scale::for_terms_up_to(magnitude, long_number::least_exponent);
    wide_integer sum;
    bool fits = true;
    run_loop<unit_sweep>(x, n, scale, sum, fits);
    if (fits) {
        long_number total;
        total.add(sum.low, scale.exponent - long_number::least_exponent);
        total.add(sum.high, scale.exponent - long_number::least_exponent + 32);
        return total.over(range.count);
    }
    return sum_by_exponent(x, n).over(range.count);
}

} // namespace qmx::numeric
