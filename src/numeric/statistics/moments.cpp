#include "numeric/statistics/moments.hpp"

#include "numeric/arithmetic/fixed_point.hpp"
#include "numeric/arithmetic/register_width.hpp"
#include "numeric/statistics/exact_mean.hpp"

namespace qmx::numeric {
namespace {

constexpr f64 not_a_number = std::numeric_limits<f64>::quiet_NaN();

// ---- Powers of deviations, order-independent ----------------------------------------------------

// Sums of bits over one block of terms.
struct block_total {
    u64 coarse = 0;
    u64 fine = 0;
};

// Sum of terms up to a given magnitude in fixed point of 51 bits; refined, of 102 bits.
template <bool refined> class fixed_point_sum {
public:
    explicit fixed_point_sum(f64 magnitude)
        : coarse_(fixed_point_scale::for_terms_up_to(magnitude)), fine_(coarse_.exponent - 51) {}

    QMX_INLINED void add_to(block_total& total, f64 term) const {
        total.coarse += coarse_.lifted_bits(term);
        if constexpr (refined) {
            const f64 rest = term - ((term + coarse_.anchor) - coarse_.anchor);
            total.fine += fine_.lifted_bits(rest);
        }
    }
    void add(const block_total& total, i64 terms) {
        coarse_sum_.add(coarse_.units_of(total.coarse, terms));
        if constexpr (refined) fine_sum_.add(fine_.units_of(total.fine, terms));
    }

    f64 value() const {
        const f64 coarse = coarse_sum_.value() * coarse_.unit();
        return refined ? coarse + fine_sum_.value() * fine_.unit() : coarse;
    }
    // Each term is rounded to a unit, by half a unit at most.
    f64 error(i64 terms) const { return 0.5 * static_cast<f64>(terms) * coarse_.unit(); }

private:
    fixed_point_scale coarse_;
    fixed_point_scale fine_;
    wide_integer coarse_sum_;
    wide_integer fine_sum_;
};

struct power_sums {
    f64 second, third, fourth;
    bool certain; // accurate enough, by the rounding bound of the terms
};

template <bool refined> struct power_totals {
    fixed_point_sum<refined> second, third, fourth;

    explicit power_totals(f64 furthest)
        : second(furthest * furthest), third(furthest * furthest * furthest),
          fourth((furthest * furthest) * (furthest * furthest)) {}
};

struct power_sweep {
    template <bool refined>
    QMX_INLINED static void run(f64 pivot, const f32* x, i64 n, power_totals<refined>& totals) {
        auto [second, third, fourth] = totals;
        for (i64 start = 0; start < n; start += fixed_point_block) {
            const i64 length = std::min(fixed_point_block, n - start);
            const f32* block = x + start;
            block_total squares, cubes, fourths;
            for (i64 i = 0; i < length; ++i) {
                const f64 deviation = zero_if_nan(f64{block[i]} - pivot, block[i]);
                const f64 square = deviation * deviation;
                second.add_to(squares, square);
                third.add_to(cubes, square * deviation);
                fourth.add_to(fourths, square * square);
            }
            second.add(squares, length);
            third.add(cubes, length);
            fourth.add(fourths, length);
        }
        totals.second = second;
        totals.third = third;
        totals.fourth = fourth;
    }
};

template <bool refined> power_sums power_sums_about(f64 pivot, f64 furthest, const f32* x, i64 n) {
    power_totals<refined> totals(furthest);
    run_loop<power_sweep>(pivot, x, n, totals);
    const auto& [second, third, fourth] = totals;
    power_sums sums{second.value(), third.value(), fourth.value(), true};
    if constexpr (!refined) {
        // The second moment needs more: confidence limits near 0 are differences of mean and
        // margin.
        constexpr f64 enough = 0x1p-28;
        constexpr f64 enough_for_second = 0x1p-36;
        const f64 cube = sums.second * std::sqrt(sums.second / static_cast<f64>(n));
        sums.certain = second.error(n) <= enough_for_second * sums.second &&
                       third.error(n) <= enough * std::max(cube, std::abs(sums.third)) &&
                       fourth.error(n) <= enough * sums.fourth;
    }
    return sums;
}

// ---- Sums in the order of rows ------------------------------------------------------------------

// A. Neumaier, "Rundungsfehleranalyse einiger Verfahren zur Summation endlicher Summen", 1974.
struct compensated_sum {
    f64 sum = 0.0;
    f64 lost = 0.0;

    void add(f64 term) {
        const f64 total = sum + term;
        lost += std::abs(sum) >= std::abs(term) ? (sum - total) + term : (term - total) + sum;
        sum = total;
    }
    f64 value() const { return std::isfinite(sum) ? sum + lost : sum; }
};

// Turns powers about a pivot into powers about the mean = pivot + shift.
void shift_to_mean(central_moments& moments, f64 shift) {
    const f64 n = moments.weight;
    const f64 square = shift * shift;
    moments.fourth +=
        square * (6.0 * moments.second - 3.0 * n * square) - 4.0 * shift * moments.third;
    moments.third += shift * (2.0 * n * square - 3.0 * moments.second);
    moments.second -= n * square;
}

void make_infinite(central_moments& moments, f64 mean) {
    moments.mean = mean;
    moments.second = moments.third = moments.fourth = not_a_number;
}

template <class Act>
void for_counting_rows(const f32* x, const f32* frequency, const f32* weight, i64 n, Act act) {
    for (i64 i = 0; i < n; ++i) {
        const f32 times = frequency != nullptr ? frequency[i] : 1.0F;
        const f32 heavy = weight != nullptr ? weight[i] : 1.0F;
        if (x[i] == x[i] && C1WFR(times, heavy) == row_use::counts)
            act(x[i], f64{times}, f64{times} * f64{heavy});
    }
}

} // namespace

row_use C1WFR(const f32& FREQUENCY, const f32& WEIGHT) {
    if (FREQUENCY != FREQUENCY || WEIGHT != WEIGHT) return row_use::missing;
    if (FREQUENCY < 0.0F || WEIGHT < 0.0F) return row_use::refused;
    return FREQUENCY > 0.0F && WEIGHT > 0.0F ? row_use::counts : row_use::ruled_out;
}

central_moments moments_of(const f32* x, i64 n) {
    const value_range range = range_of(x, n);
    central_moments moments;
    if (range.count == 0) return moments;
    moments.count = moments.weight = static_cast<f64>(range.count);
    moments.lowest = range.lowest;
    moments.highest = range.highest;
    if (std::isinf(range.lowest) || std::isinf(range.highest)) {
        make_infinite(moments, f64{range.lowest} + f64{range.highest}); // as the sum comes out
        return moments;
    }

    const exact_mean mean = mean_of(x, n, range);
    moments.mean = mean.to_odd;
    if (range.lowest == range.highest) return moments;
    const f64 furthest = std::max(f64{range.highest} - mean.head, mean.head - f64{range.lowest});
    power_sums sums = power_sums_about<false>(mean.head, furthest, x, n);
    if (!sums.certain) sums = power_sums_about<true>(mean.head, furthest, x, n);
    moments.second = sums.second;
    moments.third = sums.third;
    moments.fourth = sums.fourth;
    shift_to_mean(moments, mean.tail);
    return moments;
}

central_moments weighted_moments_of(const f32* x, const f32* frequency, const f32* weight, i64 n) {
    central_moments moments;
    compensated_sum count, total_weight, sum;
    for_counting_rows(x, frequency, weight, n, [&](f32 value, f64 times, f64 heavy) {
        if (!(moments.lowest <= value)) moments.lowest = value;
        if (!(moments.highest >= value)) moments.highest = value;
        count.add(times);
        total_weight.add(heavy);
        sum.add(heavy * f64{value});
    });
    moments.count = count.value();
    moments.weight = total_weight.value();
    if (!(moments.count > 0.0)) return moments;
    const f64 mean = sum.value() / moments.weight;
    moments.mean = mean;
    if (!std::isfinite(mean)) {
        make_infinite(moments, mean);
        return moments;
    }
    if (moments.lowest == moments.highest) {
        moments.mean = moments.lowest;
        return moments;
    }

    compensated_sum first, second, third, fourth;
    for_counting_rows(x, frequency, weight, n, [&](f32 value, f64, f64 heavy) {
        const f64 deviation = f64{value} - mean;
        const f64 square = deviation * deviation;
        first.add(heavy * deviation);
        second.add(heavy * square);
        third.add(heavy * (square * deviation));
        fourth.add(heavy * (square * square));
    });
    moments.second = second.value();
    moments.third = third.value();
    moments.fourth = fourth.value();
    const f64 shift = first.value() / moments.weight;
    shift_to_mean(moments, shift);
    moments.mean = mean + shift;
    return moments;
}

void merge(central_moments& into, const central_moments& from) {
    if (from.count == 0.0) return;
    if (into.count == 0.0) {
        into = from;
        return;
    }
    if (!(into.lowest <= from.lowest)) into.lowest = from.lowest;
    if (!(into.highest >= from.highest)) into.highest = from.highest;
    const f64 a = into.weight;
    const f64 b = from.weight;
    const f64 n = a + b;
    into.count += from.count;
    into.weight = n;
    if (!std::isfinite(into.mean) || !std::isfinite(from.mean)) {
        make_infinite(into, into.mean + from.mean);
        return;
    }
    const f64 delta = from.mean - into.mean;
    const f64 step = delta / n;
    const f64 product = a * b * step;
    into.fourth += from.fourth + product * step * step * delta * ((a - b) * a + b * b) +
                   6.0 * step * step * (a * a * from.second + b * b * into.second) +
                   4.0 * step * (a * from.third - b * into.third);
    into.third += from.third + product * step * delta * (a - b) +
                  3.0 * step * (a * from.second - b * into.second);
    into.second += from.second + product * delta;
    into.mean += step * b;
}

void remove(central_moments& from, const central_moments& what) {
    if (what.count == 0.0) return;
    if (from.count == what.count) { // nothing is left: no mean to go on from
        from.count = from.weight = from.mean = from.second = from.third = from.fourth = 0.0;
        return;
    }
    central_moments negative = what;
    for (f64* sum :
         {&negative.count, &negative.weight, &negative.second, &negative.third, &negative.fourth})
        *sum = -*sum;
    merge(from, negative);
}

} // namespace qmx::numeric
