#include "measure_statistics/statistics.hpp"

#include "base/limits.hpp"
#include "base/prefetch.hpp"
#include "base/work_array.hpp"
#include "events/event.hpp"
#include "toolkit/interpolation.hpp"
#include "toolkit/statistics_wrappers.hpp"

namespace qmx {

namespace {

constexpr routine_text self("qmx_stats");

constexpr std::string_view too_many_classes =
    "High pass counts causing histogram intervals exceeding the maximum 200";

// Kept between calls: a single value has no statistics, and hosts are then given those of the
// previous call.
f32 statistics_vector[statistics_rows];

struct value_range {
    f32 smallest;
    f32 largest;
};

// Narrows the values to f32 and finds their range, ignoring NaN. Without any number the range is
// empty: from the largest f32 down to the smallest.
value_range narrow(const array_view<const f64>& values, f32* x) {
    constexpr f32 infinity = std::numeric_limits<f32>::infinity();
    constexpr i64 chains = 4; // of independent comparisons
    f32 low[chains] = {infinity, infinity, infinity, infinity};
    f32 high[chains] = {-infinity, -infinity, -infinity, -infinity};
    const auto take = [&](i64 chain, i64 i) {
        const f64& held = values(i + 1);
        prefetch_ahead(&held, 4096);
        const f32 value = static_cast<f32>(held);
        x[i] = value;
        low[chain] = value < low[chain] ? value : low[chain];
        high[chain] = value > high[chain] ? value : high[chain];
    };
    i64 i = 0;
    for (; i + chains <= values.extent; i += chains)
        for (i64 chain = 0; chain < chains; ++chain) take(chain, i + chain);
    for (; i < values.extent; ++i) take(0, i);
    const f32 smallest = *std::min_element(low, low + chains);
    const f32 largest = *std::max_element(high, high + chains);
    const bool holds_a_number = smallest <= largest;
    constexpr f32 huge = std::numeric_limits<f32>::max();
    return holds_a_number ? value_range{smallest, largest} : value_range{huge, -huge};
}

// The upper limit and the percentage of each of the K = classes + 1 entries.
struct histogram {
    i32 classes = 0; // 0 or negative for pass counts below 0
    i32 limits = 0;  // K
    f32 limit[histogram_entries + 1] = {};
    f32 percent[histogram_entries + 1] = {};
};

void set_limits(histogram& bins, i32 classes, f32 start, f32 step) {
    bins.classes = classes;
    bins.limits = classes + 1;
    f32 limit = start; // accumulated: start + i * step rounds otherwise
    for (i32 k = 0; k < bins.limits; ++k, limit += step) bins.limit[k] = limit;
}

// Copies the histogram into the record, whose arrays hold 200 entries. With 201 entries the last
// cumulative percentage goes to the field behind the array, x_target, which hosts know.
void copy_histogram(const histogram& bins, t_statsout& t_out) {
    const i32 kept = std::clamp(bins.limits, 0, histogram_entries);
    std::copy_n(bins.limit, kept, t_out.x_bin);
    std::copy_n(bins.percent, kept, t_out.x_freq);
    f32 cumulative = 0;
    for (i32 k = 0; k < kept; ++k) {
        cumulative = k == 0 ? bins.percent[0] : cumulative + bins.percent[k];
        t_out.x_cumfreq[k] = cumulative;
    }
    if (bins.limits > histogram_entries)
        t_out.x_target = cumulative + bins.percent[histogram_entries];
}

// The interpolated ordinate at one abscissa; outside the table that of the nearest end.
f32 read_back(const array_view<const f32>& ordinates, const array_view<const f32>& abscissas,
              f32 abscissa) {
    static constexpr i32 i_outside = 2;
    f32 ordinate = 0;
    linr_intpol_s(ordinates, abscissas, view_of<const f32>(&abscissa, 1), view_of(&ordinate, 1),
                  &i_outside);
    return ordinate;
}

} // namespace

i32 keep_statistics(const array_view<const f32>& values) {
    imsl_uvsta(values, view_of(statistics_vector, statistics_rows));
    if (has_run_out_of_memory()) return pass_up(self);
    if (has_failed()) clear_event(); // too few values for statistics
    return status_success;
}

i32 qmx_stats(const i32& i_flag_pass, const i32& i_flag_below, const i32& i_numdata,
              const array_view<const f64>& d_val, t_statsout& t_out) {
    const bool pass_counts = i_flag_pass == flag_yes;
    const work_array<f32> x(d_val.extent);
    if (!x) return fail_out_of_memory(self);
    const value_range range = narrow(d_val, x.data());
    t_out.i_numdata = i_numdata;

    if (keep_statistics(x.view()) != status_success) return status_failure;
    std::copy_n(statistics_vector, statistics_rows, t_out.x_stat);

    histogram bins;
    if (pass_counts) {
        // Beyond 32 bits the number of classes would overflow; it is too high in any case.
        const bool beyond_integers = range.largest >= 2147483648.0F;
        const i32 classes = beyond_integers ? 0 : truncated(range.largest) + 1;
        if (beyond_integers || classes > histogram_entries)
            return fail_here(self, too_many_classes);
        set_limits(bins, classes, 0.0F, 1.0F);
    } else {
        const f32 step = (range.largest - range.smallest) / static_cast<f32>(continuous_classes);
        if (!(step > constant_class_width)) {
            t_out.i_numbins = 1;
            t_out.x_bin[0] = (range.smallest + range.largest) * 0.5F;
            t_out.x_freq[0] = 100.0F;
            t_out.x_cumfreq[0] = 100.0F;
            return status_success;
        }
        set_limits(bins, continuous_classes, range.smallest, step);
    }

    imsl_owfrq(i_numdata, x.view(), bins.limits, view_of<const f32>(bins.limit, bins.limits),
               view_of(bins.percent, bins.limits));
    if (has_run_out_of_memory()) return pass_up(self);
    if (has_failed()) clear_event(); // the histogram is then all zeros
    copy_histogram(bins, t_out);
    t_out.i_numbins = pass_counts ? bins.classes : bins.limits;

    const auto limits = view_of<const f32>(t_out.x_bin, bins.classes);
    const auto cumulative = view_of<const f32>(t_out.x_cumfreq, bins.classes);
    for (int i = 0; i < 2; ++i) {
        const f32 value = read_back(limits, cumulative, t_out.x_pctlevel[i]);
        if (has_failed()) return pass_up(self);
        t_out.x_pctvalue[i] = value;
    }
    if (t_out.i_flag_target == flag_yes) {
        // At least T passes means more than T - 1 of them.
        const f32 target = pass_counts ? t_out.x_target - 1.0F : t_out.x_target;
        const f32 at_or_below = read_back(cumulative, limits, target);
        if (has_failed()) return pass_up(self);
        t_out.x_achieved_pct = i_flag_below == flag_yes ? at_or_below : 100.0F - at_or_below;
        t_out.i_target_met = t_out.x_achieved_pct < t_out.x_target_pct ? 2 : 1;
    }
    return status_success;
}

} // namespace qmx
