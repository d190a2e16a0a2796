#include "compaction/compact_curve.hpp"

#include "base/prefetch.hpp"
#include "base/work_array.hpp"
#include "events/event.hpp"
#include "measure_statistics/statistics.hpp"
#include "toolkit/group_means.hpp"
#include "toolkit/polynomial_curve.hpp"

#include <algorithm>
#include <cmath>

namespace qmx {

namespace {

constexpr routine_text self("qmx_icdata_cmpcurv_B_drv");

constexpr i32 least_points_of_a_pass = 100;
constexpr i32 degree_of_curve = 2;
constexpr i32 curve_steps = 100;

// Estimates from a sample of evenly spread points. They affect speed only.
struct estimate {
    f32 magnitude = 0.0F; // the greatest finite one
    i32 last_pass = 0;    // before the first that is missing

    explicit estimate(const array_view<const t_icdata>& points) {
        constexpr i64 looks = 1024;
        constexpr std::uint32_t most_passes = 256;
        bool is_present[most_passes] = {};
        const i64 step = std::max<i64>(points.extent / looks, 1);
        for (i64 i = 1; i <= points.extent; i += step) {
            const f32 value = std::abs(static_cast<f32>(points(i).d_val));
            if (value > magnitude && std::isfinite(value)) magnitude = value;
            const std::uint32_t index = static_cast<std::uint32_t>(points(i).i_passno) - 1;
            if (index < most_passes) is_present[index] = true;
        }
        while (last_pass < static_cast<i32>(most_passes) && is_present[last_pass]) ++last_pass;
    }
};

// Counts and sums of each pass, from one sweep over the points. A usable pass k needs 100 points in
// each of the passes before it: passes beyond n/100 are never used and share the counts of none.
struct pass_census {
    i32 smallest = std::numeric_limits<i32>::max();
    i32 largest = std::numeric_limits<i32>::min();
    i64 reachable;
    group_sums sums; // of passes 1, 2, ..., from index 0

    pass_census(i32 passes, i64 points, const estimate& expected)
        : reachable(passes), sums(passes, points, expected.magnitude) {}

    // Also writes the values of one pass to kept, which has room for all points.
    void take(const array_view<const t_icdata>& points, i32 kept_pass, f32* kept) {
        i32 low = smallest;
        i32 high = largest;
        const auto read = [=](i64 i) mutable {
            const t_icdata& point = points(i + 1);
            prefetch_ahead(&point, 4096);
            const f32 value = static_cast<f32>(point.d_val);
            *kept = value;
            kept += point.i_passno == kept_pass ? 1 : 0;
            return grouped_value{static_cast<std::uint32_t>(point.i_passno) - 1, value};
        };
        sums.add_each(points.extent, read, [&](i64 i) {
            low = std::min(low, points(i + 1).i_passno);
            high = std::max(high, points(i + 1).i_passno);
        });
        smallest = low;
        largest = high;
        for (i32 k = 0; k < reachable; ++k)
            if (sums.values(k) > 0) {
                smallest = std::min(smallest, k + 1);
                largest = std::max(largest, k + 1);
            }
    }
    // Passes up to the first that is missing or too thin.
    i32 usable() const {
        i32 passes = 0;
        while (passes < reachable && sums.values(passes) >= least_points_of_a_pass) ++passes;
        return passes;
    }
};

void gather(const array_view<const t_icdata>& points, i32 pass, f32* values) {
    for (i64 i = 1; i <= points.extent; ++i)
        if (points(i).i_passno == pass) *values++ = static_cast<f32>(points(i).d_val);
}

struct curve_bounds {
    f64 lower, upper;
};

curve_bounds bounds_of(const array_view<f64>& means) {
    curve_bounds bounds{means(1), means(1)};
    for (i64 k = 2; k <= means.extent; ++k) {
        bounds.lower = std::min(bounds.lower, means(k));
        bounds.upper = std::max(bounds.upper, means(k));
    }
    return bounds;
}

} // namespace

i32 qmx_icdata_cmpcurv_B_drv(const i32& i_maxpassno, const i32& i_mindata, const i32& i_numdata,
                             const array_view<const t_icdata>& t_data, i32& i_numpasses,
                             const array_view<f64>& d_passmean, const array_view<f64>& d_curvex,
                             const array_view<f64>& d_curvey, t_fitout& t_fit) {
    if (i_maxpassno < 2)
        return fail_here(self, "i_maxpassno should be more than 2 for compaction curve analysis");
    if (i_numdata < i_mindata) return fail_here(self, "not sufficient data");

    const i64 points = std::max(i_numdata, 0);
    const array_view<const t_icdata> data(t_data.base, points, t_data.stride);
    const estimate expected(data);
    pass_census census(
        static_cast<i32>(std::min<i64>(i_maxpassno, points / least_points_of_a_pass)), points,
        expected);
    const work_array<f32> values(points);
    if (!census.sums || !values) return fail_out_of_memory(self);
    census.take(data, expected.last_pass, values.data());
    if (census.smallest != 1) return fail_here(self, "IC data should always contain pass no. 1");
    if (census.largest > i_maxpassno)
        return fail_here(self, "IC data consist of pass no. > max passes");

    const i32 passes = census.usable();
    const work_array<f64> x(passes);
    const work_array<f64> y(passes);
    if (!x || !y) return fail_out_of_memory(self);
    i_numpasses = passes;
    if (passes == 0) return fail_here(self, "No sufficient data existed for any pass no.");
    for (i32 k = 1; k <= passes; ++k) {
        d_passmean(k) = f64{census.sums.mean(k - 1)};
        x[k - 1] = k;
        y[k - 1] = d_passmean(k);
    }
    // The statistics of the last pass are the ones kept for the next call.
    if (passes != expected.last_pass) gather(data, passes, values.data());
    const auto of_last = view_of<const f32>(values.data(), census.sums.values(passes - 1));
    if (keep_statistics(of_last) != status_success) return pass_up(self);

    fitted_polynomial fitted;
    fit_polynomial(view_of<const f64>(x.data(), passes), view_of<const f64>(y.data(), passes),
                   &degree_of_curve, fitted);
    if (has_failed()) return pass_up(self);

    // The curve starts at pass 1 and stops one step short of the last pass.
    const f64 step = static_cast<f64>(passes - 1) / curve_steps;
    for (i32 i = 0; i < curve_steps; ++i) d_curvex(i + 1) = 1.0 + i * step;
    const curve_bounds bounds = bounds_of(d_passmean);
    evaluate_polynomial(fitted, d_curvex, d_curvey, &bounds.lower, &bounds.upper);
    t_fit.i_degree = fitted.degree;
    for (i32 k = 0; k <= fitted.degree; ++k)
        t_fit.x_coef[k] = static_cast<f32>(fitted.coefficient[k]);
    t_fit.x_rsq = static_cast<f32>(fitted.statistics[4]);
    return status_success;
}

} // namespace qmx
