#include "numeric/statistics/univariate_summary.hpp"

#include "numeric/distributions/distributions.hpp"
#include "numeric/errors/error_stack.hpp"
#include "numeric/errors/numeric_frame.hpp"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace qmx::numeric {
namespace {

constexpr f32 not_a_number = std::numeric_limits<f32>::quiet_NaN();

// Rows of a column, from 0.
enum row {
    row_mean,
    row_variance,
    row_deviation,
    row_skewness,
    row_excess,
    row_lowest,
    row_highest,
    row_range,
    row_variation,
    row_count,
    row_mean_limits,
    row_variance_limits = row_mean_limits + 2,
    row_weight = row_variance_limits + 2
};

// Ranges below which powers of the deviations leave the normal numbers of f32: the square, cube and
// fourth root of the smallest, 2^-126.
constexpr f64 least_range_of_squares = 0x1p-63;
constexpr f64 least_range_of_cubes = 0x1p-42;
constexpr f64 least_range_of_fourths = 0x1.6a09e667f3bcdp-32;

f32 narrowed(f64 value) {
    return static_cast<f32>(value);
}

void post_for(i32 variable, i32 code, std::string_view message) {
    E1STI(1, variable);
    post(type_warning_everywhere, code, message);
}

struct spread {
    f64 variance, deviation, skewness, excess;
};

spread spread_of(const central_moments& moments, f32 range, i32 variable) {
    constexpr f64 none = std::numeric_limits<f64>::quiet_NaN();
    if (moments.lowest == moments.highest) {
        post_for(variable, 2, "The observations on variable %(I1) are constant.");
        return {0.0, 0.0, 0.0, 0.0};
    }
    if (f64{range} < least_range_of_squares) {
        post_for(variable, 12,
                 "The range of the observations on variable %(I1) is so small that their variance "
                 "underflows.  It is set to zero, skewness and excess to NaN (not a number).");
        return {0.0, 0.0, none, none};
    }
    if (moments.second < 0.0) {
        post_for(variable, 3,
                 "The variance of variable %(I1) is negative, since rows were taken away.  It is "
                 "set to NaN (not a number).");
        return {none, none, none, none};
    }
    const f64 n = moments.count;
    const f64 mean_square = moments.second / n;
    const f64 variance = moments.second / (n - 1.0);
    spread result{variance, std::sqrt(variance),
                  moments.third / (n * mean_square * std::sqrt(mean_square)),
                  moments.fourth / (n * mean_square * mean_square) - 3.0};
    if (f64{range} < least_range_of_cubes) {
        post_for(variable, 13,
                 "The range of the observations on variable %(I1) is so small that their third "
                 "moment underflows.  Skewness and excess are set to NaN (not a number).");
        result.skewness = result.excess = none;
    } else if (f64{range} < least_range_of_fourths) {
        post_for(variable, 14,
                 "The range of the observations on variable %(I1) is so small that their fourth "
                 "moment underflows.  The excess is set to NaN (not a number).");
        result.excess = none;
    }
    return result;
}

// A cache of quantiles by degrees of freedom. Many small samples share few sample sizes, and a
// quantile costs far more than the moments of such a sample. A quantile with an error is never
// cached: it is computed, and its error posted, each time.
struct quantile_memory {
    static constexpr std::uint32_t places = 64;
    static constexpr f64 most_freedom = 2147483647.0;
    struct {
        f64 p, freedom, value; // p of 0.0: none
    } kept[places];

    template <class Quantile> f64 operator()(Quantile quantile, f64 p, f64 freedom) {
        if (!(freedom >= 0.0 && freedom <= most_freedom)) return quantile(p, freedom);
        auto& place = kept[static_cast<std::uint32_t>(freedom) % places];
        if (place.p != p || place.freedom != freedom) {
            const f64 value = quantile(p, freedom);
            if (N1RTY(1) != type_none || !std::isfinite(value)) return value;
            place = {p, freedom, value};
        }
        return place.value;
    }
};
constinit thread_local quantile_memory student_quantiles{}, lower_quantiles{}, upper_quantiles{};

void limit_mean(const central_moments& moments, f64 deviation, f32 level, f32* limits) {
    limits[0] = limits[1] = 0.0F;
    if (level <= 0.0F) return;
    const f64 t = student_quantiles(DTIN, f64{level} / 200.0 + 0.5, moments.count - 1.0);
    if (!std::isfinite(t)) {
        post(type_warning_everywhere, 8,
             "An error occured in determining the t statistic.  The confidence limits are set to "
             "NaN (not a number).");
        limits[0] = limits[1] = not_a_number;
        return;
    }
    const f64 half_width = t * deviation / std::sqrt(moments.count);
    limits[0] = narrowed(moments.mean - half_width);
    limits[1] = narrowed(moments.mean + half_width);
}

void limit_variance(const central_moments& moments, f64 variance, f32 level, f32* limits) {
    limits[0] = limits[1] = 0.0F;
    if (level <= 0.0F) return;
    limits[0] = limits[1] = not_a_number;
    if (moments.second < 0.0) {
        post(type_warning_everywhere, 9,
             "The variance is negative.  Its confidence limits are set to NaN (not a number).");
        return;
    }
    const f64 freedom = moments.count - 1.0;
    const f64 tail = (1.0 - f64{level} / 100.0) * 0.5;
    const f64 upper = upper_quantiles(DCHIIN, 1.0 - tail, freedom);
    if (std::isfinite(upper))
        limits[0] = narrowed(freedom * variance / upper);
    else
        post(type_warning_everywhere, 10,
             "An error occured in determining the chi-sqaured statistic.  The lower confidence "
             "limit is set to NaN (not a number).");
    const f64 lower = lower_quantiles(DCHIIN, tail, freedom);
    if (std::isfinite(lower))
        limits[1] = narrowed(freedom * variance / lower);
    else
        post(type_warning_everywhere, 11,
             "An error occured in determining the chi-squared statistic.  The upper confidence "
             "limit is set to NaN (not a number).");
}

void set_spread_undefined(f32* stat) {
    std::fill_n(stat + row_variance, 4, not_a_number);
    stat[row_variation] = not_a_number;
    std::fill_n(stat + row_mean_limits, 4, not_a_number);
}

// Splits a sum of frequencies or weights into its f32 value and the rounding error.
void split(f64 value, f32& first, f32& second) {
    first = narrowed(value);
    second = std::isfinite(first) ? narrowed(value - f64{first}) : 0.0F;
}

// Store the bits of an f64 in two f32 elements, which are never read as numbers.
void pack(f64 value, f32* two) {
    std::memcpy(two, &value, sizeof value);
}
f64 unpack(const f32* two) {
    f64 value;
    std::memcpy(&value, two, sizeof value);
    return value;
}

} // namespace

void summarize(const central_moments& moments, bool weighted, const confidence_levels& levels,
               i32 variable, f32* stat) {
    stat[row_mean] = narrowed(moments.mean);
    stat[row_lowest] = moments.lowest;
    stat[row_highest] = moments.highest;
    const f32 range = moments.highest - moments.lowest;
    stat[row_range] = range;
    stat[row_count] = narrowed(moments.count);
    if (weighted) stat[row_weight] = narrowed(moments.weight);

    if (!(moments.count > 1.0)) {
        set_spread_undefined(stat);
        if (weighted && moments.weight == 0.0)
            post_for(variable, 15,
                     "The sum of the weights of variable %(I1) is zero.  Its statistics are set to "
                     "NaN (not a number).");
        else
            post_for(variable, 1,
                     "There are fewer than two valid observations on variable %(I1).  Statistics "
                     "that need more are set to NaN (not a number).");
        return;
    }
    if (moments.second != moments.second) { // an infinite observation
        set_spread_undefined(stat);
        post_for(variable, 5, "The coefficient of variation of variable %(I1) is not defined.");
        return;
    }

    const spread of = spread_of(moments, range, variable);
    stat[row_variance] = narrowed(of.variance);
    stat[row_deviation] = narrowed(of.deviation);
    stat[row_skewness] = narrowed(of.skewness);
    stat[row_excess] = narrowed(of.excess);
    limit_mean(moments, of.deviation, levels.mean, stat + row_mean_limits);
    limit_variance(moments, of.variance, levels.variance, stat + row_variance_limits);
    stat[row_variation] = narrowed(of.deviation / moments.mean + 0.0); // no negative zero
    if (stat[row_mean] == 0.0F || of.deviation != of.deviation) {      // row 9 is row 3 over row 1
        stat[row_variation] = not_a_number;
        post_for(variable, 5, "The coefficient of variation of variable %(I1) is not defined.");
    }
}

void store_running(const central_moments& moments, bool weighted, f32* stat) {
    stat[row_mean] = narrowed(moments.mean);
    pack(moments.mean, stat + row_variance);
    pack(moments.second, stat + row_skewness);
    stat[row_lowest] = moments.lowest;
    stat[row_highest] = moments.highest;
    split(moments.count, stat[row_count], stat[row_variation]);
    pack(moments.third, stat + row_mean_limits);
    pack(moments.fourth, stat + row_variance_limits);
    if (weighted) split(moments.weight, stat[row_weight], stat[row_range]);
}

central_moments load_running(bool weighted, const f32* stat) {
    central_moments moments;
    moments.count = f64{stat[row_count]} + f64{stat[row_variation]};
    moments.weight = weighted ? f64{stat[row_weight]} + f64{stat[row_range]} : moments.count;
    moments.mean = unpack(stat + row_variance);
    moments.second = unpack(stat + row_skewness);
    moments.third = unpack(stat + row_mean_limits);
    moments.fourth = unpack(stat + row_variance_limits);
    moments.lowest = stat[row_lowest];
    moments.highest = stat[row_highest];
    return moments;
}

} // namespace qmx::numeric
