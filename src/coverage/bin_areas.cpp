#include "coverage/bin_areas.hpp"

#include "base/prefetch.hpp"
#include "base/work_array.hpp"
#include "coverage/coverage_state.hpp"
#include "coverage/first_match.hpp"
#include "events/event.hpp"

namespace qmx {

namespace {

// Points per bin. Successive points are counted in different rows of counters, so that increments
// of the same bin do not wait for each other. Entry 0 of each row counts the points outside all
// bins.
constexpr i64 rows = 4;

void count_points(const coverage_state& state, const first_match_table& first_match,
                  const work_array<i32>& counts) {
    const i64 width = counts.size() / rows;
    for (i64 i = 1; i <= state.points.extent; ++i) {
        const t_icdata& point = state.points(i);
        prefetch_ahead(&point, 64 * sizeof(t_icdata));
        const i32 passes = truncated(point.d_val);
        ++counts[(i % rows) * width + first_match(passes)];
    }
    for (i64 row = 1; row < rows; ++row)
        for (i64 bin = 0; bin < width; ++bin) counts[bin] += counts[row * width + bin];
}

struct totals {
    i64 points = 0;
    f64 area = 0;
    f64 coverage = 0;
};

// Logs the totals and any mismatch with the input. Changes no result.
void log_totals(const coverage_state& state, const work_array<i32>& counts, f64 mesh_area,
                const totals& total) {
    const run_log& log = state.log;
    if (!log.is_on) return;
    log_line(log, " Total Point_counts: ", total.points);
    if (total.points != state.i_num_point) {
        log_line(log, " Total Point_counts: ", total.points,
                 " not equal to original total points:", state.i_num_point);
        log_line(log, "  No error handler is added here. Check your input data!!");
    }
    log_line(log, " bin no.  Point_counts");
    for (i64 i = 1; i <= state.bins.extent; ++i) log_count(log, i, counts[i]);
    log_line(log, "       a mesh area (m^2): ", mesh_area);
    log_line(log, " Total points area (m^2): ", total.area);
    log_line(log, "    Alignment area (m^2): ", state.alignment_area);
    if (total.area > state.alignment_area)
        log_line(log, " Total point coverage is greater than the alignment area");
    log_line(log, "      Total coverage (%): ", total.coverage);
    if (total.coverage > 100.0) log_line(log, " Total coverage is greater than 100% ");
    if (total.coverage < 100.0) log_line(log, " Total coverage is less than 100% ");
}

} // namespace

void compute_areas_for_bins(coverage_state& state) {
    log_line(state.log, "  Compute areas for passes in bins");
    const f64 mesh_area = f64{state.x_meshsize[0]} * f64{state.x_meshsize[1]};

    const work_array<i32> counts(rows * (state.bins.extent + 1), 0);
    const first_match_table first_match(state.bins);
    if (!counts || !first_match) {
        fail_out_of_memory(coverage_routine);
        return;
    }
    count_points(state, first_match, counts);

    totals total;
    for (i64 i = 1; i <= state.bins.extent; ++i) {
        const f64 area = f64(counts[i]) * mesh_area;
        const f64 percentage = (area / state.alignment_area) * 100.0;
        t_binresult& result = state.results(i);
        result.x_coverage = static_cast<f32>(percentage);
        result.x_compacted_area = static_cast<f32>(area);
        result.x_plan_area = static_cast<f32>(state.alignment_area);
        total.points += counts[i];
        total.coverage += percentage;
    }
    total.area = f64(total.points) * mesh_area;
    log_totals(state, counts, mesh_area, total);
}

} // namespace qmx
