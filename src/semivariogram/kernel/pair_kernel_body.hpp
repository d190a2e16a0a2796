// The loops of the pair kernel, written once and compiled for several instruction sets, by the flags of
// the unit that includes this file. All of it is local to that unit.
#pragma once

#include "semivariogram/kernel/lanes.hpp"
#include "semivariogram/kernel/pair_kernel.hpp"

namespace qmx::pair_kernel {

namespace {

static_assert(width <= most_lanes);

// The class of a key.
inline i64 class_of(f32 key) {
    std::uint32_t bits;
    std::memcpy(&bits, &key, sizeof bits);
    return bits & 255;
}

// The rules in every lane.
struct rule_lanes {
    explicit rule_lanes(const search_rules& rules)
        : inverse_lag(all(rules.inverse_lag)), xlag(all(rules.classes->xlag)),
          shift(all(key_of_nothing + first_distance_class)), epsilon(all(epsilon_distance)),
          uvxazm(all(rules.uvxazm)), uvyazm(all(rules.uvyazm)), uvzdec(all(rules.uvzdec)),
          csatol(all(rules.csatol)), bandwh(all(rules.bandwh)), bandwd(all(rules.bandwd)),
          is_banded(rules.has_bands), is_directed(rules.has_cone || rules.has_bands) {}

    // The nearest class of a distance, as a key, and whether that class is certain.
    inline flags classify(const reals& h, const reals& half_width, reals& key) const {
        key = h * inverse_lag + shift;
        const reals offset = magnitude(h - xlag * (key - shift));
        return both(at_most(offset, half_width), below(epsilon, h));
    }

    // The found pairs that the direction accepts.
    inline flags accepts(const flags& found, const reals& dx, const reals& dy,
                         const reals& h) const {
        // Only pairs near the border of the cone need the quotient.
        const reals along = magnitude(uvxazm * dx + uvyazm * dy);
        const reals border = csatol * h;
        flags inside = below(border * above_one, along);
        const flags clear =
            both(below(epsilon, h), either(inside, below(along, border * below_one)));
        if ((bits_of(found) & ~bits_of(clear)) != 0) {
            // A divisor of 1 instead of 0, which would raise an exception flag.
            const flags coincident = below(h, epsilon);
            const reals cosine =
                choose(coincident, all(1.0F), along / choose(coincident, all(1.0F), h));
            inside = without(found, below(cosine, csatol));
        }
        inside = both(found, inside);
        if (!is_banded) return inside;
        const reals across = uvxazm * dy - uvyazm * dx;
        return without(
            inside, either(below(bandwh, magnitude(across)), below(bandwd, magnitude(uvzdec * h))));
    }

    reals inverse_lag, xlag, shift, epsilon;
    reals uvxazm, uvyazm, uvzdec, csatol, bandwh, bandwd;
    reals above_one = all(1.000001F), below_one = all(0.999999F);
    bool is_banded, is_directed;
};

// ---- A row in each lane ------------------------------------------------------------------------

template <bool Twice> inline void add_to(f64* sums, const wide_reals& term) {
    wide_reals sum = load_wide(sums) + term;
    if constexpr (Twice) sum = sum + term;
    store_wide(sums, sum);
}

template <bool Twice> inline void add_to(two_starts<lanes_of_sums>& sums, const wide_reals& term) {
    add_to<Twice>(sums.even, term);
    add_to<Twice>(sums.odd, term);
}

// Pairs that are classified but not yet added. Adding them a few steps later keeps a branch on the class
// from waiting for a square root.
struct pair_queue {
    static constexpr std::uint64_t steps = 8;

    std::uint64_t entered = 0;
    unsigned found[steps];
    alignas(64) f32 key[steps][width];
    alignas(64) f32 distance[steps][width];
    alignas(64) f32 square[steps][width];
};

// Adds the pairs of one step, class by class. Rows in neighbouring lanes are neighbours, so that a step
// mostly holds one class or two.
template <bool Twice>
inline void add_step(const pair_queue& queue, std::uint64_t number, lane_sums& sums) {
    const std::uint64_t step = number % queue.steps;
    const reals key = load(queue.key[step]);
    for (unsigned left = queue.found[step]; left != 0;) {
        const f32 one_key = queue.key[step][lowest_bit(left)];
        const i64 k = class_of(one_key);
        const flags mine = equal(key, all(one_key));
        left &= ~bits_of(mine);
        const unsigned needs = sums.needs[k];
        if ((needs & class_needs::nothing) != 0) continue;
        lane_sums::of_class& to = sums.of[k];
        const wide_reals distance = widen(mine, queue.distance[step]);
        const wide_reals square = widen(mine, queue.square[step]);
        add_halves(to.distance, distance);
        add_to<Twice>(to.squares, square);
        to.count += (Twice ? 2 : 1) * number_of(bits_of(mine));
        if (needs == 0) continue;
        if ((needs & class_needs::next_squares) != 0) add_to<Twice>(to.next_squares, square);
        if ((needs & class_needs::ordered_distance) != 0)
            add_to<Twice>(to.ordered_distance, distance);
    }
}

// Adds the pairs that are left in the queue, and empties it.
template <bool Twice> inline void add_rest(pair_queue& queue, lane_sums& sums) {
    for (std::uint64_t step = queue.entered < queue.steps ? 0 : queue.entered - queue.steps + 1;
         step < queue.entered; ++step)
        add_step<Twice>(queue, step, sums);
    queue.entered = 0;
}

// Of pairs whose square is NaN, those that count, once: no candidate's value is trimmed. No row's is, for
// such rows are not searched.
inline unsigned counted_once(unsigned pairs, const f32* values) {
    unsigned counted = pairs;
    for (; pairs != 0; pairs &= pairs - 1) {
        const i64 t = lowest_bit(pairs);
        std::uint32_t bits;
        std::memcpy(&bits, values + t, sizeof bits);
        if (bits == trimmed_bits) counted &= ~(1U << t);
    }
    return counted;
}

// Adds, of pairs with a marked value, those that count: once, and without a square. Half of a distance
// that the sum doubles is exact.
template <bool Twice>
[[gnu::noinline]] void add_marked(pair_queue& queue, unsigned marked, const reals& key,
                                  const reals& h, const reals& value, row_lanes& rows,
                                  lane_sums& sums) {
    alignas(64) f32 distances[width], keys[width], values[width];
    store(distances, h);
    store(keys, key);
    store(values, value);
    add_rest<Twice>(queue, sums); // a lane's pairs keep their order
    for (unsigned left = counted_once(marked, values); left != 0; left &= left - 1) {
        const i64 t = lowest_bit(left);
        const i64 k = class_of(keys[t]);
        rows.has_nan[k] = true;
        const unsigned needs = sums.needs[k];
        if ((needs & class_needs::nothing) != 0) continue;
        lane_sums::of_class& to = sums.of[k];
        const f64 distance = distances[t];
        to.count += 1;
        to.distance[0] += Twice ? 0.5 * distance : distance;
        if ((needs & class_needs::ordered_distance) == 0) continue;
        to.ordered_distance.even[t] += distance;
        to.ordered_distance.odd[t] += distance;
    }
}

// Finds the classes of lanes where they are not certain; returns the lanes that have one.
[[gnu::noinline]] unsigned settle_lanes(const search_rules& rules, row_lanes& rows, unsigned open,
                                        const f32* distances, f32* keys) {
    unsigned found = 0;
    for (; open != 0; open &= open - 1) {
        const i64 lane = lowest_bit(open);
        const i32 k = settle_class(rules, rows, lane, distances[lane]);
        keys[lane] = key_of_nothing + static_cast<f32>(k);
        found |= static_cast<unsigned>(k != 0) << lane;
    }
    return found;
}

template <bool Twice, bool Directed, bool Marked, bool Backwards>
void sweep(const search_rules& rules, row_lanes& rows, const points& candidates, i64 first,
           i64 count, lane_sums& sums) {
    const rule_lanes rule(rules);
    const reals xi = load(rows.x);
    const reals yi = load(rows.y);
    const reals vi = load(rows.value);
    reals limit = load(rows.limit);
    reals half_width = load(rows.half_width);
    reals last_distance = load(rows.last_distance);
    reals last_key = load(rows.last_key);
    const auto from = [](const f32* place) {
        return Backwards ? backwards(load(place)) : load(place);
    };
    pair_queue queue;
    for (i64 at = first; at < count; ++at) {
        const reals dx = from(candidates.x + at) - xi;
        const reals dy = from(candidates.y + at) - yi;
        const reals hs = dx * dx + dy * dy;
        flags found = at_most(hs, limit);
        if (at < 0 || at + width > count)
            found = both(found, Backwards ? lanes_between(at + width - count, at + width)
                                          : lanes_between(-at, count - at));
        if (bits_of(found) == 0) continue;
        const reals h = root(hs);
        reals key;
        const flags certain = both(found, rule.classify(h, half_width, key));
        last_distance = choose(certain, h, last_distance);
        last_key = choose(certain, key, last_key);
        const unsigned open = bits_of(found) & ~bits_of(certain);
        if (open != 0) {
            alignas(64) f32 distances[width], keys[width];
            store(distances, h);
            store(keys, key);
            store(rows.last_distance, last_distance);
            store(rows.last_key, last_key);
            found = flags_of(bits_of(certain) | settle_lanes(rules, rows, open, distances, keys));
            key = load(keys);
            limit = load(rows.limit);
            half_width = load(rows.half_width);
            last_distance = load(rows.last_distance);
            last_key = load(rows.last_key);
        }
        if constexpr (Directed) {
            found = rule.accepts(found, dx, dy, h);
            if (bits_of(found) == 0) continue;
        }
        const reals value = from(candidates.value + at);
        const reals difference = vi - value;
        const reals square = difference * difference;
        if constexpr (Marked) {
            const flags plain = both(found, is_number(square));
            const unsigned marked = bits_of(found) & ~bits_of(plain);
            if (marked != 0 && rules.has_nan)
                add_marked<Twice>(queue, marked, key, h, value, rows, sums);
            found = plain;
        }
        const std::uint64_t step = queue.entered % queue.steps;
        queue.found[step] = bits_of(found);
        store(queue.key[step], choose(found, key, all(key_of_nothing)));
        store(queue.distance[step], h);
        store(queue.square[step], square);
        if (++queue.entered >= queue.steps)
            add_step<Twice>(queue, queue.entered - queue.steps, sums);
    }
    add_rest<Twice>(queue, sums);
    store(rows.last_distance, last_distance);
    store(rows.last_key, last_key);
}

template <bool Twice, bool Directed, bool Marked>
void sweep(const search_rules& rules, row_lanes& rows, const points& candidates, i64 first,
           i64 count, bool backwards, lane_sums& sums) {
    if (backwards)
        sweep<Twice, Directed, Marked, true>(rules, rows, candidates, first, count, sums);
    else
        sweep<Twice, Directed, Marked, false>(rules, rows, candidates, first, count, sums);
}

template <bool Twice, bool Directed>
void sweep(const search_rules& rules, row_lanes& rows, const points& candidates, i64 first,
           i64 count, bool backwards, lane_sums& sums) {
    if (rules.has_marked)
        sweep<Twice, Directed, true>(rules, rows, candidates, first, count, backwards, sums);
    else
        sweep<Twice, Directed, false>(rules, rows, candidates, first, count, backwards, sums);
}

void sweep_rows(const search_rules& rules, row_lanes& rows, const points& candidates, i64 first,
                i64 count, bool backwards, lane_sums& sums) {
    // A search that counts pairs once has a cone: its half-angle is below 90 degrees, or NaN.
    const bool directed = rules.has_cone || rules.has_bands;
    if (rules.twice && directed)
        sweep<true, true>(rules, rows, candidates, first, count, backwards, sums);
    else if (rules.twice)
        sweep<true, false>(rules, rows, candidates, first, count, backwards, sums);
    else
        sweep<false, true>(rules, rows, candidates, first, count, backwards, sums);
}

// ---- One row -----------------------------------------------------------------------------------

// Finds the classes of a row's pairs in order; returns the pairs that have one.
[[gnu::noinline]] unsigned settle_in_order(const search_rules& rules, row_lanes& rows,
                                           unsigned found, unsigned certain, const f32* distances,
                                           f32* keys) {
    for (unsigned left = found; left != 0; left &= left - 1) {
        const i64 t = lowest_bit(left);
        if (rows.half_width[0] > 0 && (certain >> t & 1) != 0) {
            rows.last_distance[0] = distances[t];
            rows.last_key[0] = keys[t];
            continue;
        }
        const i32 k = settle_class(rules, rows, 0, distances[t]);
        keys[t] = key_of_nothing + static_cast<f32>(k);
        if (k == 0) found &= ~(1U << t);
    }
    return found;
}

// Pairs in range of one row, contiguous.
struct pair_block {
    static constexpr i64 most = 256;

    i64 count = 0;
    alignas(64) f32 dx[most + width];
    alignas(64) f32 dy[most + width];
    alignas(64) f32 squared_distance[most + width];
    alignas(64) f32 value[most + width];

    // What is left of a register's width must not raise an exception flag.
    void clear_rest() {
        store(dx + count, all(0));
        store(dy + count, all(0));
        store(squared_distance + count, all(0));
        store(value + count, all(0));
    }
};

template <bool Twice> inline void add_term(f64& sum, f64 term) {
    sum += term;
    if constexpr (Twice) sum += term;
}

template <bool Twice> inline void add_pair(class_sums& sums, i64 k, f64 distance, f64 square) {
    class_sums::of_class& to = sums.of[k];
    to.count += Twice ? 2 : 1;
    add_term<Twice>(to.distance, distance);
    add_term<Twice>(to.squares, square);
}

template <bool Twice> inline void add_pair(row_sums& sums, i64 k, f64 distance, f64 square) {
    const auto add = [](two_starts<f64>& to, f64 term) {
        add_term<Twice>(to.even, term);
        add_term<Twice>(to.odd, term);
    };
    const unsigned needs = sums.needs[k];
    if ((needs & class_needs::nothing) != 0) return;
    row_sums::of_class& to = sums.of[k];
    to.count += Twice ? 2 : 1;
    to.distance += distance;
    add(to.squares, square);
    if (needs == 0) return;
    if ((needs & class_needs::next_squares) != 0) add(to.next_squares, square);
    if ((needs & class_needs::ordered_distance) != 0) add(to.ordered_distance, distance);
}

// A pair that counts once and has no square.
template <bool Twice> inline void add_once(class_sums& sums, i64 k, f64 distance) {
    ++sums.of[k].count;
    sums.of[k].distance += distance;
}

template <bool Twice> inline void add_once(row_sums& sums, i64 k, f64 distance) {
    const unsigned needs = sums.needs[k];
    if ((needs & class_needs::nothing) != 0) return;
    row_sums::of_class& to = sums.of[k];
    ++to.count;
    to.distance += Twice ? 0.5 * distance : distance;
    if ((needs & class_needs::ordered_distance) == 0) return;
    to.ordered_distance.even += distance;
    to.ordered_distance.odd += distance;
}

template <bool Twice, bool Marked, class Sums>
void add_block(const search_rules& rules, const rule_lanes& rule, row_lanes& rows,
               pair_block& block, Sums& sums) {
    alignas(64) f32 distances[width], keys[width], squares[width];
    alignas(64) f64 wide_distances[width], wide_squares[width];
    const reals half_width = all(rules.certainty.half_width);
    const flags everywhere = flags_of((1U << width) - 1);
    block.clear_rest();
    for (i64 at = 0; at < block.count; at += width) {
        const i64 held = block.count - at < width ? block.count - at : width;
        unsigned found = (1U << held) - 1;
        const reals h = root(load(block.squared_distance + at));
        reals key;
        const unsigned certain = bits_of(rule.classify(h, half_width, key));
        store(distances, h);
        store(keys, key);
        if ((found & ~certain) != 0 || !(rows.half_width[0] > 0)) {
            found = settle_in_order(rules, rows, found, certain, distances, keys);
        } else {
            rows.last_distance[0] = distances[held - 1];
            rows.last_key[0] = keys[held - 1];
        }
        if (rule.is_directed)
            found =
                bits_of(rule.accepts(flags_of(found), load(block.dx + at), load(block.dy + at), h));
        const reals difference = all(rows.value[0]) - load(block.value + at);
        const reals square = difference * difference;
        unsigned once = 0;
        if constexpr (Marked) {
            const unsigned marked = found & ~bits_of(is_number(square));
            if (marked != 0) once = counted_once(marked, block.value + at);
            found = (found & ~marked) | once;
        }
        store(squares, square);
        store_wide(wide_distances, widen(everywhere, distances));
        store_wide(wide_squares, widen(everywhere, squares));
        for (; found != 0; found &= found - 1) {
            const i64 t = lowest_bit(found);
            const i64 k = class_of(keys[t]);
            if (!Marked || (once >> t & 1) == 0) {
                add_pair<Twice>(sums, k, wide_distances[t], wide_squares[t]);
            } else {
                rows.has_nan[k] = true;
                add_once<Twice>(sums, k, wide_distances[t]);
            }
        }
    }
    block.count = 0;
}

template <bool Twice, bool Marked, class Sums>
void sweep_alone(const search_rules& rules, row_lanes& rows, const points& candidates, i64 first,
                 i64 count, Sums& sums) {
    const rule_lanes rule(rules);
    const reals xi = all(rows.x[0]);
    const reals yi = all(rows.y[0]);
    pair_block block;
    for (i64 at = first; at < count; at += width) {
        const reals dx = load(candidates.x + at) - xi;
        const reals dy = load(candidates.y + at) - yi;
        const reals hs = dx * dx + dy * dy;
        unsigned found = bits_of(at_most(hs, all(rows.limit[0])));
        if (count - at < width) found &= (1U << (count - at)) - 1;
        store_packed(block.squared_distance + block.count, found, hs);
        store_packed(block.value + block.count, found, load(candidates.value + at));
        if (rule.is_directed) {
            store_packed(block.dx + block.count, found, dx);
            store_packed(block.dy + block.count, found, dy);
        }
        block.count += number_of(found);
        if (block.count > block.most - width)
            add_block<Twice, Marked>(rules, rule, rows, block, sums);
    }
    add_block<Twice, Marked>(rules, rule, rows, block, sums);
}

template <class Sums>
void sweep_row(const search_rules& rules, row_lanes& rows, const points& candidates, i64 first,
               i64 count, Sums& sums) {
    if (rules.twice && rules.has_marked)
        sweep_alone<true, true>(rules, rows, candidates, first, count, sums);
    else if (rules.twice)
        sweep_alone<true, false>(rules, rows, candidates, first, count, sums);
    else if (rules.has_marked)
        sweep_alone<false, true>(rules, rows, candidates, first, count, sums);
    else
        sweep_alone<false, false>(rules, rows, candidates, first, count, sums);
}

} // namespace

} // namespace qmx::pair_kernel
