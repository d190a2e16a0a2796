#include "coverage/alignment_area.hpp"

#include "base/work_array.hpp"
#include "coverage/coverage_state.hpp"
#include "events/event.hpp"
#include "geometry/plan_geometry.hpp"

namespace qmx {

namespace {

constexpr i32 flag_included = 2;

void interleave(const t_areaflt& area, const work_array<f64>& pairs) {
    for (i64 k = 0; 2 * k < pairs.size(); ++k) {
        pairs[2 * k] = area.d_vert_x[k];
        pairs[2 * k + 1] = area.d_vert_y[k];
    }
}

void reverse_pairs(const work_array<f64>& pairs) {
    for (i64 low = 0, high = pairs.size() - 2; low < high; low += 2, high -= 2) {
        std::swap(pairs[low], pairs[high]);
        std::swap(pairs[low + 1], pairs[high + 1]);
    }
}

// The area of one ring, with its vertices in counter-clockwise order.
f64 area_of(const run_log& log, i32 vertices, const work_array<f64>& pairs) {
    f64 area = 0;
    log_line(log, "  original order of vertices, can be CW or CCW.");
    log_vertices(log, pairs.data(), pairs.size() / 2);
    POLYGON_SIGNED_AREA_2D(vertices, pairs.data(), area);
    if (!(area < 0)) return area;

    log_line(log, "the current area is:", area);
    log_line(log,
             "Since current order is CW, the order of vertices needs to be reversed to make it "
             "CCW.");
    reverse_pairs(pairs);
    log_line(log, "  reversed order of vertices");
    log_vertices(log, pairs.data(), pairs.size() / 2);
    POLYGON_SIGNED_AREA_2D(vertices, pairs.data(), area);
    log_line(log, "the corrected area is:", area);
    return area;
}

} // namespace

void compute_alignment_areas(coverage_state& state) {
    state.alignment_area = 0;
    log_line(state.log, "  Compute alighnment area");
    for (i64 i = 1; i <= state.areas.extent; ++i) {
        const t_areaflt& filter = state.areas(i);
        log_line(state.log, "  >> Current area no.:", i);
        log_line(state.log, "        no. vertices.:", i64{filter.i_numvertices});
        const work_array<f64> pairs(2 * i64{filter.i_numvertices});
        if (!pairs) {
            fail_out_of_memory(coverage_routine);
            return;
        }
        interleave(filter, pairs);
        const f64 area = area_of(state.log, filter.i_numvertices, pairs);

        if (filter.i_flag_exclusion == flag_included)
            state.alignment_area += area;
        else
            state.alignment_area -= area;
        log_line(state.log, "           area (m^2):", area);
        log_line(state.log, "  exclusion (1:Y/2:N):", i64{filter.i_flag_exclusion});
        log_line(state.log, "accumulated area(m^2):", state.alignment_area);
        if (area < 0) {
            fail_here(coverage_routine, "current area is negative");
            return;
        }
    }
}

} // namespace qmx
