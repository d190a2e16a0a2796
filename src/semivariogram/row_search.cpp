#include "semivariogram/row_search.hpp"

#include <algorithm>
#include <bit>
#include <cmath>

namespace qmx {

using namespace pair_kernel;

namespace pair_kernel {

void begin_row(const search_rules& rules, row_lanes& rows, i64 lane, f32 x, f32 y, f32 value) {
    rows.x[lane] = x;
    rows.y[lane] = y;
    rows.value[lane] = value;
    rows.limit[lane] = rules.classes->dismxs;
    // As the pair of the point with itself leaves it.
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
        // Nothing but coincident pairs will be found any more.
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

} // namespace pair_kernel

namespace {

// Rows that go side by side; fewer are done one after the other.
constexpr i64 least_rows = 4;

constexpr std::uint64_t fraction_bits = (std::uint64_t{1} << 52) - 1;

// Candidates are swept in the direction in which they run along with the rows, found out for so many
// at once.
constexpr i64 stretch = 24;
static_assert(stretch > most_lanes); // the rows themselves run forwards

// Rollers go up one lane and down the next.
bool goes_backwards(const candidate_segment& others, i64 from, f32 way_x, f32 way_y) {
    constexpr i64 step = 4; // over passes of one place
    i64 balance = 0;
    for (i64 j = from; j + step < std::min(from + stretch, others.count); j += 2 * step) {
        const f32 along =
            (others.x[j + step] - others.x[j]) * way_x + (others.y[j + step] - others.y[j]) * way_y;
        balance += along < 0 ? 1 : -1;
    }
    return balance > 0;
}

// The power of two that a positive sum has reached, and the next.
f64 power_of(f64 sum) {
    return std::bit_cast<f64>(std::bit_cast<std::uint64_t>(sum) & ~fraction_bits);
}
f64 next_power(f64 sum) {
    return std::bit_cast<f64>((std::bit_cast<std::uint64_t>(sum) | fraction_bits) + 1);
}

// A sum's power of two and, one unit apart, the next.
void begin_sums(two_starts& lanes, f64 sum) {
    const std::uint64_t even = std::bit_cast<std::uint64_t>(power_of(sum));
    std::fill_n(lanes.even, most_lanes, std::bit_cast<f64>(even));
    std::fill_n(lanes.odd, most_lanes, std::bit_cast<f64>(even + 1));
}

// Adds rows from row `from` on, as many as leave the sum below the next power of two. Returns where it
// stopped. The bits of a sum count its last places.
i64 add_rows(f64& sum, const two_starts& lanes, i64 from, i64 rows) {
    std::uint64_t total = std::bit_cast<std::uint64_t>(sum);
    const std::uint64_t even = total & ~fraction_bits;
    i64 row = from;
    for (; row < rows; ++row) {
        const std::uint64_t from_even = std::bit_cast<std::uint64_t>(lanes.even[row]) - even;
        const std::uint64_t from_odd = std::bit_cast<std::uint64_t>(lanes.odd[row]) - (even + 1);
        const std::uint64_t next = total + ((total & 1) != 0 ? from_odd : from_even);
        if ((next & ~fraction_bits) != even) break;
        total = next;
    }
    sum = std::bit_cast<f64>(total);
    return row;
}

} // namespace

row_search::row_search(const search_rules& rules, const points& all, class_sums& sums)
    : rules_(rules), all_(all), sums_(sums), kernel_(version_in_use()),
      last_class_(rules.classes->last) {
    // Classes that reach down to distance 0 have no such unit.
    for (i32 k = first_distance_class + 1; k <= last_class_; ++k) {
        const f32 least = rules.classes->lower[k];
        const f32 unit = std::nextafter(least, 2 * least) - least;
        greatest_exact_[k] = std::ldexp(static_cast<f64>(unit), 53);
    }
}

bool row_search::reserve() {
    lanes_ = work_array<lane_sums>(1);
    return static_cast<bool>(lanes_);
}

void row_search::begin_lane(i64 lane, i64 row) {
    begin_row(rules_, rows_, lane, all_.x[row], all_.y[row], all_.value[row]);
}

void row_search::search(const neighbour_runs& candidates, i64 first, i64 end) {
    if (end - first >= least_rows) {
        search_side_by_side(candidates, first, end);
    } else {
        for (i64 row = first; row < end; ++row) search_one(candidates, first, row, sums_);
    }
}

void row_search::search_one(const neighbour_runs& candidates, i64 first, i64 row,
                            class_sums& sums) {
    begin_lane(0, row);
    for (i64 s = 0; s < candidates.segments(); ++s) {
        const candidate_segment& others = candidates.segment(s);
        const i64 from = s == 0 ? candidates.offset() + (row - first) + 1 : 0;
        kernel_.sweep_row(rules_, rows_, {others.x, others.y, others.value}, from, others.count,
                          sums);
    }
}

void row_search::search_side_by_side(const neighbour_runs& candidates, i64 first, i64 end) {
    const i64 rows = end - first;
    choose_sums(candidates, rows);
    sweep(candidates, first, end);
    take_in_counts(rows);
    while (!take_in_rows(rows)) {
        for (i64 row = rows - 1; row >= 0; --row) redo(candidates, first, first + row);
        if (!take_in_next(rows)) sweep(candidates, first, end);
    }
    for (i32 k = coincident_class; k <= last_class_; ++k)
        growth_[k] = sums_.of[k].measure - growth_[k];
}

// Which sums of distances may round when the pairs of these rows are added, all in one class; and
// which sums of measures are likely to pass a power of two, going by the rows before.
void row_search::choose_sums(const neighbour_runs& candidates, i64 rows) {
    f64 pairs = 0;
    for (i64 s = 0; s < candidates.segments(); ++s)
        pairs += static_cast<f64>(2 * rows * candidates.segment(s).count);
    for (i32 k = coincident_class; k <= last_class_; ++k) {
        const f64 most = sums_.of[k].distance + pairs * static_cast<f64>(rules_.classes->upper[k]);
        const f64 likely = sums_.of[k].measure + 1.5 * growth_[k];
        std::uint8_t needs = 0;
        if (!(most < greatest_exact_[k])) needs |= ordered_distance;
        if (likely > next_power(sums_.of[k].measure)) needs |= next_measure;
        lanes_[0].needs[k] = needs;
        growth_[k] = sums_.of[k].measure;
    }
}

void row_search::sweep(const neighbour_runs& candidates, i64 first, i64 end) {
    lane_sums& lanes = lanes_[0];
    for (i32 k = coincident_class; k <= last_class_; ++k) {
        if ((lanes.needs[k] & nothing) != 0) continue;
        lanes.of[k].count = 0;
        std::fill_n(lanes.of[k].distance, std::size(lanes.of[k].distance), 0.0);
        begin_sums(lanes.of[k].measure, sums_.of[k].measure);
        next_power_[k] = next_power(sums_.of[k].measure);
        if ((lanes.needs[k] & next_measure) != 0)
            begin_sums(lanes.of[k].next_measure, next_power_[k]);
        if ((lanes.needs[k] & ordered_distance) != 0)
            begin_sums(lanes.of[k].ordered_distance, sums_.of[k].distance);
    }
    for (i64 lane = 0; lane < kernel_.lanes; ++lane) {
        if (first + lane < end)
            begin_lane(lane, first + lane);
        else
            leave_empty(rows_, lane);
    }
    const f32 way_x = all_.x[end - 1] - all_.x[first];
    const f32 way_y = all_.y[end - 1] - all_.y[first];
    for (i64 s = 0; s < candidates.segments(); ++s) {
        const candidate_segment& others = candidates.segment(s);
        // The rows themselves stand in the first segment: each begins behind its own point.
        const i64 own = s == 0 ? candidates.offset() + 1 : 0;
        for (i64 from = own, to; from < others.count; from = to) {
            const bool among_rows = s == 0 && from == own;
            const bool backwards = !among_rows && goes_backwards(others, from, way_x, way_y);
            to = from + stretch;
            while (to < others.count && goes_backwards(others, to, way_x, way_y) == backwards)
                to += stretch;
            to = std::min(to, others.count);
            const i64 base = among_rows ? 0 : from;
            kernel_.sweep_rows(rules_, rows_,
                               {others.x + base, others.y + base, others.value + base},
                               among_rows ? from : 1 - kernel_.lanes, to - base, backwards, lanes);
        }
    }
}

// Counts, and sums of distances that do not round.
void row_search::take_in_counts(i64 rows) {
    lane_sums& lanes = lanes_[0];
    const i64 times = rules_.twice ? 2 : 1;
    for (i32 k = coincident_class; k <= last_class_; ++k) {
        taken_in_[k] = {rows, rows};
        if (lanes.of[k].count == 0) {
            lanes.needs[k] |= nothing;
            continue;
        }
        const bool is_ordered = (lanes.needs[k] & ordered_distance) != 0;
        taken_in_[k] = {0, is_ordered ? 0 : rows};
        sums_.of[k].count += times * lanes.of[k].count;
        if (is_ordered) continue;
        f64 distance = 0;
        for (const f64 sum : lanes.of[k].distance) distance += sum;
        sums_.of[k].distance += static_cast<f64>(times) * distance;
    }
}

// The other sums, of wanted classes. Returns whether all rows are in.
bool row_search::take_in_rows(i64 rows) {
    const lane_sums& lanes = lanes_[0];
    bool all = true;
    for (i32 k = coincident_class; k <= last_class_; ++k) {
        if ((lanes.needs[k] & nothing) != 0) continue;
        progress& done = taken_in_[k];
        done.measure = add_rows(sums_.of[k].measure, lanes.of[k].measure, done.measure, rows);
        if (done.distance < rows)
            done.distance =
                add_rows(sums_.of[k].distance, lanes.of[k].ordered_distance, done.distance, rows);
        all = all && done.measure == rows && done.distance == rows;
    }
    return all;
}

// After a redone row: goes on from the next power of two where that has been provided for. Returns
// whether all rows are in; what is not stays wanted.
bool row_search::take_in_next(i64 rows) {
    lane_sums& lanes = lanes_[0];
    bool all = true;
    for (i32 k = coincident_class; k <= last_class_; ++k) {
        if ((lanes.needs[k] & nothing) != 0) continue;
        progress& done = taken_in_[k];
        if ((lanes.needs[k] & next_measure) != 0 && done.measure < rows &&
            power_of(sums_.of[k].measure) == next_power_[k])
            done.measure =
                add_rows(sums_.of[k].measure, lanes.of[k].next_measure, done.measure, rows);
        if (done.measure == rows && done.distance == rows) lanes.needs[k] |= nothing;
        all = all && (lanes.needs[k] & nothing) != 0;
    }
    return all;
}

// Takes in one row, pair after pair, where it is the next one of a sum.
void row_search::redo(const neighbour_runs& candidates, i64 first, i64 row) {
    const i64 next = row - first;
    const auto waits = [&](const progress& done) {
        return done.measure == next || done.distance == next;
    };
    progress* const end = taken_in_ + last_class_ + 1;
    if (std::none_of(taken_in_ + coincident_class, end, waits)) return;
    class_sums sums = sums_;
    search_one(candidates, first, row, sums);
    for (i32 k = coincident_class; k <= last_class_; ++k) {
        if (taken_in_[k].measure == next) {
            sums_.of[k].measure = sums.of[k].measure;
            ++taken_in_[k].measure;
        }
        if (taken_in_[k].distance == next) {
            sums_.of[k].distance = sums.of[k].distance;
            ++taken_in_[k].distance;
        }
    }
}

} // namespace qmx
