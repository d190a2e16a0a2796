#include "semivariogram/search/pair_search.hpp"

#include "semivariogram/kernel/lag_classes.hpp"
#include "semivariogram/kernel/pair_kernel.hpp"
#include "semivariogram/search/neighbour_runs.hpp"
#include "semivariogram/search/pair_rules.hpp"
#include "semivariogram/search/row_search.hpp"
#include "semivariogram/search/window_search.hpp"

#include <algorithm>
#include <cmath>

namespace qmx {

namespace {

constexpr i64 most_plain_rows = 32; // that share their candidates

struct lag_sums {
    array_view<f64> np, dis, gam;
};

struct point {
    f32 x, y, value;
};

// One pair after the other, each class searched for: the plain rule, for whatever the fast manner
// does not cover. The running values go from row to row.
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
        const f32 measure = difference * difference;
        add(k, h, measure);
        if (is_omnidirectional(set_) && counts_twice(set_, i.value) && counts_twice(set_, j.value))
            add(k, h, measure);
    }

    void add(i32 k, f32 h, f32 measure) {
        sums_.np(k) += 1.0;
        sums_.dis(k) += static_cast<f64>(h);
        sums_.gam(k) += static_cast<f64>(measure);
    }

    const t_gamvset& set_;
    const lag_classes& classes_;
    const search_direction& direction_;
    lag_sums sums_;
    point here_ = {};
    last_found last_ = {0, 0};
};

// Whether bands are narrower than a pair may be long.
bool has_bands(const t_gamvset& set, const lag_classes& classes) {
    const f32 wide = 1.001F * std::sqrt(classes.dismxs);
    return !(set.bandwh > wide && set.bandwd > wide);
}

bool all_count_twice(const gamv_variables& variables) {
    for (i64 i = 0; i < variables.maxdat; ++i)
        if (!counts_twice(variables.set, variables.vr[i])) return false;
    return true;
}

// Rows `first` to `end` - 1 in ascending order, in groups that share their candidates; `end` becomes
// the end of the last group. A point without a finite position finds nothing, not even itself.
template <class SearchGroup>
bool search_groups(neighbour_runs& neighbours, i64 first, i64& end, i64 most,
                   const SearchGroup& search_group) {
    while (first < end) {
        const i64 next = neighbours.end_of_group(first, most);
        if (next > first) {
            if (!neighbours.gather(first, next)) return false;
            search_group(first, next);
        }
        first = std::max(next, first + 1);
    }
    end = first;
    return true;
}

} // namespace

search_direction direction_of(const t_gamvset& set) {
    constexpr f32 pi = 3.1415927F;
    constexpr f32 cosine_of_45 = 0.70710677F;
    const auto radians = [](f32 degrees) { return (degrees * pi) / 180.0F; };
    const f32 azmuth = radians(90.0F - set.azm);
    const f32 declin = radians(90.0F - set.dip);
    search_direction direction;
    direction.uvxazm = std::cos(azmuth);
    direction.uvyazm = std::sin(azmuth);
    direction.csatol = set.atol <= 0 ? cosine_of_45 : std::cos(radians(set.atol));
    direction.uvzdec = std::cos(declin);
    direction.uvhdec = std::sin(declin);
    direction.csdtol = set.dtol <= 0 ? cosine_of_45 : std::cos(radians(set.dtol));
    return direction;
}

bool search_pairs(const gamv_variables& variables, const array_view<f64>& np,
                  const array_view<f64>& dis, const array_view<f64>& gam) {
    const t_gamvset& set = variables.set;
    const f32 xltol = set.xltol <= 0 ? set.xlag * 0.5F : set.xltol;
    const lag_classes classes = make_lag_classes(set.nlag, set.xlag, xltol);
    const search_direction direction = direction_of(set);
    plain_rows plain(set, classes, direction, {np, dis, gam});
    const candidate_segment all = {variables.x, variables.y, variables.vr, variables.maxdat};

    // Without a finite greatest distance every pair is in range.
    if (!std::isfinite(classes.dismxs)) {
        for (i64 i = 0; i < variables.maxdat; ++i) {
            plain.begin_row({all.x[i], all.y[i], all.value[i]});
            plain.pair_with(all, i);
        }
        return true;
    }
    neighbour_runs neighbours;
    if (!neighbours.build(all.x, all.y, all.value, all.count, classes.dismxs)) return false;

    const class_certainty certainty = certainty_of(classes, xltol);
    // Horizontal directions only: the vertical part of every pair is then the whole of it.
    const bool is_horizontal = direction.uvhdec == 1.0F && direction.csdtol <= 1.0F;
    if (!certainty.usable || !is_horizontal || !all_count_twice(variables)) {
        i64 end = all.count;
        return search_groups(neighbours, 0, end, most_plain_rows, [&](i64 first, i64 next) {
            for (i64 i = first; i < next; ++i) {
                plain.begin_row({all.x[i], all.y[i], all.value[i]});
                plain.pair_with(neighbours.segment(0), neighbours.offset() + i - first);
                for (i64 s = 1; s < neighbours.segments(); ++s)
                    plain.pair_with(neighbours.segment(s), 0);
            }
        });
    }

    const pair_kernel::search_rules rules = {.classes = &classes,
                                             .certainty = certainty,
                                             .inverse_lag = 1.0F / set.xlag,
                                             .coincident_square = greatest_coincident_square(),
                                             .twice = is_omnidirectional(set),
                                             .has_cone = !(direction.csatol <= 0),
                                             .has_bands = has_bands(set, classes),
                                             .uvxazm = direction.uvxazm,
                                             .uvyazm = direction.uvyazm,
                                             .uvzdec = direction.uvzdec,
                                             .csatol = direction.csatol,
                                             .bandwh = set.bandwh,
                                             .bandwd = set.bandwd};
    pair_kernel::class_sums sums = {};
    row_sweep rows(rules, {all.x, all.y, all.value});
    row_search groups(rows, sums);
    window_search windows(rows, all.count, sums);
    if (!groups.reserve()) return false;
    i64 own_pairs = 0;
    for (i64 first = 0, end = 0; first < all.count; first = end) {
        end = std::min(all.count, first + windows.rows_from(first));
        if (windows.is_scattered(neighbours, first, end)) {
            if (!windows.plan(neighbours, first, end)) return false;
            if (windows.pays()) {
                if (!windows.search(neighbours)) return false;
                own_pairs += windows.located();
                continue;
            }
        }
        if (!search_groups(neighbours, first, end, rows.most_rows(), [&](i64 row, i64 next) {
                groups.search(neighbours, row, next);
                own_pairs += next - row;
            }))
            return false;
    }
    for (i32 k = coincident_class; k <= classes.last; ++k) {
        np(k) += static_cast<f64>(sums.of[k].count);
        dis(k) += sums.of[k].distance;
        gam(k) += sums.of[k].measure;
    }
    // A point and itself: distance and difference 0, accepted by every direction.
    np(coincident_class) += static_cast<f64>(is_omnidirectional(set) ? 2 * own_pairs : own_pairs);
    return true;
}

} // namespace qmx
