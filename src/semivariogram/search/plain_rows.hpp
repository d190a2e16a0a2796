// Rows of pairs by the plain rule, for settings and data that the kernel does not cover.
#pragma once

#include "base/array_view.hpp"
#include "semivariogram/search/neighbour_runs.hpp"
#include "semivariogram/search/pair_rules.hpp"

namespace qmx {

struct lag_sums {
    array_view<f64> np, dis, gam;
};

struct point {
    f32 x, y, value;
};

// Pairs one after the other, each class searched for from the pair found before. The running values go
// from row to row.
class plain_rows {
public:
    plain_rows(const t_gamvset& set, const lag_classes& classes, const search_direction& direction,
               const lag_sums& sums)
        : set_(set), classes_(classes), direction_(direction), sums_(sums) {}

    void begin_row(const point& here) {
        here_ = here;
        last_.lastlag = first_distance_class;
    }

    void pair_with(const candidate_segment& others, i64 from) {
        for (i64 j = from; j < others.count; ++j)
            pair(here_, {others.x[j], others.y[j], others.value[j]});
    }

private:
    void pair(const point& i, const point& j) {
        const f32 dx = j.x - i.x;
        const f32 dy = j.y - i.y;
        const f32 hs = dx * dx + dy * dy;
        if (hs > classes_.dismxs) return;
        const f32 h = std::sqrt(hs);
        i32 k = coincident_class;
        if (!(h <= epsilon_distance)) {
            k = find_lag_class(classes_, h, last_);
            if (k == 0) return;
            last_.lastlag = k;
        }
        last_.lastdist = h;
        if (!direction_accepts(direction_, set_, dx, dy, h, k)) return;
        if (is_trimmed(set_, i.value) || is_trimmed(set_, j.value)) return;
        const f32 difference = i.value - j.value;
        const f32 square = difference * difference;
        add(k, h, square);
        if (is_omnidirectional(set_) && counts_twice(set_, i.value) && counts_twice(set_, j.value))
            add(k, h, square);
    }

    void add(i32 k, f32 h, f32 square) {
        sums_.np(k) += 1.0;
        sums_.dis(k) += static_cast<f64>(h);
        sums_.gam(k) += static_cast<f64>(square);
    }

    const t_gamvset& set_;
    const lag_classes& classes_;
    const search_direction& direction_;
    lag_sums sums_;
    point here_ = {};
    last_found last_ = {0, 0};
};

} // namespace qmx
