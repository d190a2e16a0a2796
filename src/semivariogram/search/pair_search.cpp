#include "semivariogram/search/pair_search.hpp"

#include "semivariogram/kernel/lag_classes.hpp"
#include "semivariogram/kernel/pair_kernel.hpp"
#include "semivariogram/search/neighbour_runs.hpp"
#include "semivariogram/search/pair_rules.hpp"
#include "semivariogram/search/plain_rows.hpp"
#include "semivariogram/search/row_search.hpp"
#include "semivariogram/search/window_search.hpp"

#include <algorithm>
#include <bit>
#include <cmath>

namespace qmx {

namespace {

constexpr i64 most_plain_rows = 32; // in a group that shares its candidates

// Whether the bandwidths can exclude a pair.
bool has_bands(const t_gamvset& set, const lag_classes& classes) {
    const f32 wide = 1.001F * std::sqrt(classes.dismxs);
    return !(set.bandwh > wide && set.bandwd > wide);
}

// What the kernel has to know about the values. It takes trimmed values and NaN, but not the upper limit
// itself, which counts once, nor infinities within odd limits; and NaN of one bit pattern only, which
// becomes the sum of every class with such a pair.
struct value_survey {
    bool fits_kernel = true;
    bool has_trimmed = false, has_nan = false;
    f32 nan = 0;
};

value_survey survey_values(const gamv_variables& variables) {
    value_survey survey;
    for (i64 i = 0; i < variables.maxdat; ++i) {
        const f32 value = variables.vr[i];
        if (counts_twice(variables.set, value) && std::isfinite(value)) continue;
        if (std::isnan(value)) {
            const auto bits = std::bit_cast<std::uint32_t>(value);
            if (survey.has_nan && bits != std::bit_cast<std::uint32_t>(survey.nan))
                survey.fits_kernel = false;
            if (bits == pair_kernel::trimmed_bits) survey.fits_kernel = false;
            survey.has_nan = true;
            survey.nan = value;
        } else if (is_trimmed(variables.set, value)) {
            survey.has_trimmed = true;
        } else if (is_omnidirectional(variables.set) || std::isinf(value)) {
            survey.fits_kernel = false;
        }
    }
    return survey;
}

void mark_trimmed(const gamv_variables& variables) {
    for (i64 i = 0; i < variables.maxdat; ++i)
        if (is_trimmed(variables.set, variables.vr[i]))
            variables.vr[i] = std::bit_cast<f32>(pair_kernel::trimmed_bits);
}

// Pairs of a point with itself: distance and difference 0, accepted by every direction.
void add_own_pairs(const candidate_segment& all, bool twice, const lag_sums& tables) {
    i64 count = 0;
    for (i64 i = 0; i < all.count; ++i) {
        if (!std::isfinite(all.x[i]) || !std::isfinite(all.y[i])) continue;
        if (std::bit_cast<std::uint32_t>(all.value[i]) == pair_kernel::trimmed_bits) continue;
        if (std::isnan(all.value[i])) {
            count += 1;
            tables.gam(coincident_class) += static_cast<f64>(all.value[i]);
        } else {
            count += twice ? 2 : 1;
        }
    }
    tables.np(coincident_class) += static_cast<f64>(count);
}

// Rows `first` to `end` - 1 in ascending order, in groups that share their candidates; `end` becomes
// the end of the last group. A point whose position is not finite pairs with nothing, itself included.
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

void search_all_pairs(const candidate_segment& all, plain_rows& plain) {
    for (i64 i = 0; i < all.count; ++i) {
        plain.begin_row({all.x[i], all.y[i], all.value[i]});
        plain.pair_with(all, i);
    }
}

bool search_plainly(neighbour_runs& neighbours, const candidate_segment& all, plain_rows& plain) {
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

pair_kernel::search_rules rules_of(const t_gamvset& set, const lag_classes& classes,
                                   const class_certainty& certainty, const value_survey& survey,
                                   const search_direction& direction) {
    return {.classes = &classes,
            .certainty = certainty,
            .inverse_lag = 1.0F / set.xlag,
            .coincident_square = greatest_coincident_square,
            .twice = is_omnidirectional(set),
            .has_marked = survey.has_trimmed || survey.has_nan,
            .has_nan = survey.has_nan,
            .has_cone = !(direction.csatol <= 0),
            .has_bands = has_bands(set, classes),
            .uvxazm = direction.uvxazm,
            .uvyazm = direction.uvyazm,
            .uvzdec = direction.uvzdec,
            .csatol = direction.csatol,
            .bandwh = set.bandwh,
            .bandwd = set.bandwd};
}

// Adds all pairs by the kernel: windows of rows where neighbours do not follow each other in the data,
// rows side by side elsewhere.
bool search_in_lanes(neighbour_runs& neighbours, const candidate_segment& all,
                     const pair_kernel::search_rules& rules, f32 nan, const lag_sums& tables) {
    pair_kernel::class_sums sums = {};
    row_sweep rows(rules, {all.x, all.y, all.value});
    row_search groups(rows, sums);
    window_search windows(rows, {all.x, all.y, all.value}, all.count, sums);
    if (!groups.reserve()) return false;
    for (i64 first = 0, end = 0; first < all.count; first = end) {
        end = std::min(all.count, first + windows.rows_from(first));
        if (windows.is_scattered(neighbours, first, end)) {
            if (!windows.plan(neighbours, first, end)) return false;
            if (windows.pays()) {
                if (!windows.search(neighbours)) return false;
                continue;
            }
        }
        if (!search_groups(neighbours, first, end, rows.most_rows(),
                           [&](i64 row, i64 next) { groups.search(neighbours, row, next); }))
            return false;
    }
    for (i32 k = coincident_class; k <= rules.classes->last; ++k) {
        tables.np(k) += static_cast<f64>(sums.of[k].count);
        tables.dis(k) += sums.of[k].distance;
        tables.gam(k) += rows.has_nan(k) ? static_cast<f64>(nan) : sums.of[k].squares;
    }
    add_own_pairs(all, rules.twice, tables);
    return true;
}

} // namespace

bool search_pairs(gamv_variables& variables, const array_view<f64>& np, const array_view<f64>& dis,
                  const array_view<f64>& gam) {
    const t_gamvset& set = variables.set;
    const f32 xltol = set.xltol <= 0 ? set.xlag * 0.5F : set.xltol;
    const lag_classes classes = make_lag_classes(set.nlag, set.xlag, xltol);
    const search_direction direction = direction_of(set);
    const lag_sums tables = {np, dis, gam};
    const candidate_segment all = {variables.x, variables.y, variables.vr, variables.maxdat};
    plain_rows plain(set, classes, direction, tables);
    // Without a finite greatest distance every pair is in range.
    if (!std::isfinite(classes.dismxs)) {
        search_all_pairs(all, plain);
        return true;
    }
    neighbour_runs neighbours;
    if (!neighbours.build(all.x, all.y, all.value, all.count, classes.dismxs)) return false;
    const class_certainty certainty = certainty_of(classes, xltol);
    // Horizontal directions only: the vertical part of every pair is then the whole of it.
    const bool is_horizontal = direction.uvhdec == 1.0F && direction.csdtol <= 1.0F;
    const value_survey survey = survey_values(variables);
    if (!certainty.usable || !is_horizontal || !survey.fits_kernel)
        return search_plainly(neighbours, all, plain);
    if (survey.has_trimmed) mark_trimmed(variables);
    const auto rules = rules_of(set, classes, certainty, survey, direction);
    return search_in_lanes(neighbours, all, rules, survey.nan, tables);
}

} // namespace qmx
