#include "semivariogram/pair_search.hpp"

#include "semivariogram/lag_classes.hpp"
#include "semivariogram/neighbour_runs.hpp"
#include "semivariogram/pair_kernel.hpp"
#include "semivariogram/pair_rules.hpp"
#include "semivariogram/row_search.hpp"

#include <algorithm>
#include <cmath>

namespace qmx {

namespace {

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

    void end_row() {}

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

// Whole blocks of pairs at once, by the version of the kernel that the processor can run.
class block_rows {
public:
    block_rows(const t_gamvset& set, const lag_classes& classes, const class_certainty& certainty,
               const search_direction& direction, pair_kernel::waiting_pairs& waiting)
        : set_(set), classes_(classes), certainty_(certainty), direction_(direction),
          waiting_(waiting), kernel_(pair_kernel::version_in_use()),
          twice_(is_omnidirectional(set)), directed_(has_direction(set, classes, direction)),
          class_rule_{epsilon_distance, classes.xlag, 1.0F / classes.xlag, certainty.half_width},
          direction_rule_{direction.uvxazm, direction.uvyazm, direction.csatol,
                          set.bandwh,       direction.uvzdec, set.bandwd} {}

    void begin_row(const point& here) {
        here_ = {here.x, here.y, here.value};
        state_ = {};
        greatest_ = classes_.dismxs;
    }

    void pair_with(const candidate_segment& others, i64 from) {
        for (i64 j = from; j < others.count;) {
            if (pair_kernel::block_length - block_.count < least_room) work_off();
            const i64 count = std::min(pair_kernel::block_length - block_.count, others.count - j);
            (directed_ ? kernel_.filter_with_offsets : kernel_.filter)(
                {others.x + j, others.y + j, others.value + j}, count, here_, greatest_, block_);
            j += count;
        }
    }

    void end_row() {
        if (block_.count > 0) work_off();
    }

    void finish() { kernel_.add(waiting_, twice_); }

private:
    static constexpr i64 least_room = pair_kernel::block_length / 4;

    // Whether anything can be rejected: by the cone, or by bands narrower than a pair may be long.
    static bool has_direction(const t_gamvset& set, const lag_classes& classes,
                              const search_direction& direction) {
        const f32 wide = 1.001F * std::sqrt(classes.dismxs);
        return !(direction.csatol <= 0 && set.bandwh > wide && set.bandwd > wide);
    }

    void work_off() {
        const bool any_open =
            directed_ ? kernel_.classify_and_direct(class_rule_, direction_rule_, block_)
                      : kernel_.classify(class_rule_, block_);
        settle_block(classes_, certainty_, any_open, state_, block_);
        // Nothing but coincident pairs will be found any more.
        if (state_.manner == row_manner::dead) greatest_ = greatest_coincident_square_;
        if (directed_) {
            if (any_open) direct_coincident();
            kernel_.reject(block_);
        }
        make_room(block_.count);
        kernel_.collect(block_, waiting_);
        block_.count = 0;
    }

    // For coincident points the cosine is not a quotient.
    void direct_coincident() {
        for (i64 t = 0; t < block_.count; ++t) {
            if (block_.lag_class[t] != coincident_class) continue;
            const bool accepted = direction_accepts(direction_, set_, block_.dx[t], block_.dy[t],
                                                    block_.pairs[2 * t], coincident_class);
            block_.rejected[t] = accepted ? 255 : 0;
        }
    }

    // Room for count more pairs, should they all fall in one class.
    void make_room(i64 count) {
        room_ -= count;
        if (room_ >= 0) return;
        room_ = waiting_.most - waiting_.most_waiting() - count;
        if (room_ >= 0) return;
        kernel_.add(waiting_, twice_);
        room_ = waiting_.most - count;
    }

    const t_gamvset& set_;
    const lag_classes& classes_;
    const class_certainty& certainty_;
    const search_direction& direction_;
    pair_kernel::waiting_pairs& waiting_;
    const pair_kernel::version& kernel_;
    const bool twice_;
    const bool directed_;
    const pair_kernel::class_rule class_rule_;
    const pair_kernel::direction_rule direction_rule_;
    const f32 greatest_coincident_square_ = greatest_coincident_square();
    pair_kernel::one_point here_ = {};
    row_state state_;
    f32 greatest_ = 0; // square of the greatest distance still looked for in this row
    i64 room_ = 0;
    pair_kernel::pair_block block_;
};

bool all_count_twice(const gamv_variables& variables) {
    for (i64 i = 0; i < variables.maxdat; ++i)
        if (!counts_twice(variables.set, variables.vr[i])) return false;
    return true;
}

// Rows in ascending order, each with the candidates of its run. The pair of a point with itself is
// left to own_pair.
template <class Rows, class OwnPair>
bool search_rows(const gamv_variables& variables, neighbour_runs& neighbours, Rows& rows,
                 const OwnPair& own_pair) {
    for (i64 run = 0; run < neighbours.runs(); ++run) {
        if (!neighbours.is_located(run)) continue;
        if (!neighbours.gather(run)) return false;
        const i64 first = neighbours.first(run);
        for (i64 i = first; i < neighbours.end(run); ++i) {
            rows.begin_row({variables.x[i], variables.y[i], variables.vr[i]});
            rows.pair_with(neighbours.segment(0), own_pair(i - first));
            for (i64 s = 1; s < neighbours.segments(); ++s)
                rows.pair_with(neighbours.segment(s), 0);
            rows.end_row();
        }
    }
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
    const candidate_segment all = {variables.x.data(), variables.y.data(), variables.vr.data(),
                                   variables.maxdat};

    // Without a finite greatest distance every pair is in range.
    if (!std::isfinite(classes.dismxs)) {
        for (i64 i = 0; i < variables.maxdat; ++i) {
            plain.begin_row({all.x[i], all.y[i], all.value[i]});
            plain.pair_with(all, i);
            plain.end_row();
        }
        return true;
    }
    // A point without a finite position finds nothing, not even itself.
    neighbour_runs neighbours;
    if (!neighbours.build(all.x, all.y, all.value, all.count, classes.dismxs)) return false;

    const class_certainty certainty = certainty_of(classes, xltol);
    // Horizontal directions only: the vertical part of every pair is then the whole of it.
    const bool is_horizontal = direction.uvhdec == 1.0F && direction.csdtol <= 1.0F;
    if (!certainty.usable || !is_horizontal || !all_count_twice(variables))
        return search_rows(variables, neighbours, plain, [](i64 row) { return row; });

    pair_kernel::waiting_pairs waiting;
    if (!waiting.reserve(classes.last)) return false;
    f64 own_pairs = 0;
    block_rows blocks(set, classes, certainty, direction, waiting);
    // A point and itself: class 1, distance and difference 0, accepted by every direction.
    if (!search_rows(variables, neighbours, blocks, [&](i64 row) {
            own_pairs += is_omnidirectional(set) ? 2 : 1;
            return row + 1;
        }))
        return false;
    blocks.finish();
    for (i32 k = 1; k <= classes.last; ++k) {
        np(k) += waiting.counts[k];
        dis(k) += waiting.sums[2 * k];
        gam(k) += waiting.sums[2 * k + 1];
    }
    np(coincident_class) += own_pairs;
    return true;
}

} // namespace qmx
