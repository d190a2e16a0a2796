#include "icdata/compact_curve.hpp"

#include "frame/event.hpp"
#include "frame/work_array.hpp"
#include "icdata/statistics.hpp"
#include "toolkit/polynomial_curve.hpp"

#include <algorithm>

namespace qmx {

namespace {

constexpr routine_text self("qmx_icdata_cmpcurv_B_drv");

constexpr i32 least_points_of_a_pass = 100;
constexpr i32 degree_of_curve = 2;
constexpr i32 curve_steps = 100;
constexpr i32 flag_no = 2;

// Where the statistics of a pass go; only the mean is used. Never set up, so that neither a target
// test nor percent levels are asked for.
t_statsout pass_statistics;

// Pass numbers of the data. Those that no walk can reach, since the passes before them would need
// more points than there are, are not counted one by one.
struct pass_census {
    i32 smallest = std::numeric_limits<i32>::max();
    i32 largest = std::numeric_limits<i32>::min();
    work_array<i32> count; // of passes 1, 2, ..., from index 0

    explicit pass_census(i32 passes) : count(passes, 0) {}

    void take(const array_view<const t_icdata>& points) {
        const auto reachable = static_cast<std::uint32_t>(count.size());
        for (i64 i = 1; i <= points.extent; ++i) {
            const i32 pass = points(i).i_passno;
            smallest = std::min(smallest, pass);
            largest = std::max(largest, pass);
            const std::uint32_t index = static_cast<std::uint32_t>(pass) - 1;
            if (index < reachable) ++count[index];
        }
    }
    // Passes up to the first that is missing or too thin.
    i32 usable() const {
        const auto thin = [](i32 points) { return points < least_points_of_a_pass; };
        return static_cast<i32>(std::find_if(count.begin(), count.end(), thin) - count.begin());
    }
};

// The values of each pass next to each other, passes in ascending order. Within a pass they keep
// the order of the data: no statistic depends on it.
void gather(const array_view<const t_icdata>& points, const pass_census& census, i32 passes,
            const work_array<i64>& place, f64* values) {
    i64 total = 0;
    for (i32 k = 0; k < passes; ++k) {
        place[k] = total;
        total += census.count[k];
    }
    for (i64 i = 1; i <= points.extent; ++i) {
        const t_icdata& point = points(i);
        const std::uint32_t index = static_cast<std::uint32_t>(point.i_passno) - 1;
        if (index < static_cast<std::uint32_t>(passes)) values[place[index]++] = point.d_val;
    }
}

i64 points_of(const pass_census& census, i32 passes) {
    i64 total = 0;
    for (i32 k = 0; k < passes; ++k) total += census.count[k];
    return total;
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
    pass_census census(
        static_cast<i32>(std::min<i64>(i_maxpassno, points / least_points_of_a_pass)));
    if (!census.count) return fail_out_of_memory(self);
    census.take(data);
    if (census.smallest != 1) return fail_here(self, "IC data should always contain pass no. 1");
    if (census.largest > i_maxpassno)
        return fail_here(self, "IC data consist of pass no. > max passes");

    const i32 passes = census.usable();
    const work_array<i64> place(passes);
    const work_array<f64> values(points_of(census, passes));
    const work_array<f64> x(passes);
    const work_array<f64> y(passes);
    if (!place || !values || !x || !y) return fail_out_of_memory(self);
    gather(data, census, passes, place, values.data());

    i_numpasses = 0;
    f64* first = values.data();
    for (i32 k = 1; k <= passes; ++k) {
        i_numpasses = k;
        const i32 count = census.count[k - 1];
        qmx_stats(flag_no, flag_no, count, view_of<const f64>(first, count), pass_statistics);
        if (has_failed()) return pass_up(self);
        first += count;
        d_passmean(k) = f64{pass_statistics.x_stat[0]};
        x[k - 1] = k;
        y[k - 1] = d_passmean(k);
    }
    if (passes == 0) return fail_here(self, "No sufficient data existed for any pass no.");

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
