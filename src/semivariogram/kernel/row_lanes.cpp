#include "semivariogram/kernel/pair_kernel.hpp"

namespace qmx::pair_kernel {

void begin_row(const search_rules& rules, row_lanes& rows, i64 lane, f32 x, f32 y, f32 value) {
    rows.x[lane] = x;
    rows.y[lane] = y;
    rows.value[lane] = value;
    rows.limit[lane] = rules.classes->dismxs;
    // The state after the pair of the point with itself.
    rows.half_width[lane] = rules.certainty.half_width;
    rows.last_distance[lane] = 0;
    rows.last_key[lane] = key_of_nothing + first_distance_class;
}

void leave_empty(row_lanes& rows, i64 lane) {
    rows.x[lane] = rows.y[lane] = rows.value[lane] = 0;
    rows.limit[lane] = -1;
    rows.half_width[lane] = 0;
    rows.last_distance[lane] = 0;
    rows.last_key[lane] = key_of_nothing;
}

i32 settle_class(const search_rules& rules, row_lanes& rows, i64 lane, f32 h) {
    const last_found last = {rows.last_distance[lane],
                             static_cast<i32>(rows.last_key[lane] - key_of_nothing)};
    if (h <= epsilon_distance) {
        rows.last_distance[lane] = h;
        if (last.lastlag != first_distance_class) rows.half_width[lane] = -1;
        // Only coincident pairs can still be found.
        if (last.lastlag >= rules.certainty.dead_from) rows.limit[lane] = rules.coincident_square;
        return coincident_class;
    }
    const i32 k = find_lag_class(*rules.classes, h, last);
    if (k == 0) return 0;
    rows.last_distance[lane] = h;
    rows.last_key[lane] = key_of_nothing + static_cast<f32>(k);
    rows.half_width[lane] = rules.certainty.half_width;
    return k;
}

} // namespace qmx::pair_kernel
