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
            const reals cosine = divided_or_one(below(h, epsilon), along, h);
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
        to.count += (Twice ? 2 : 1) * number_of(bits_of(mine));
        if ((needs & class_needs::apart) == 0)
            add_rounded(to.pooled, sums.power[k], square);
        else
            add_to<Twice>(to.squares, square);
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

} // namespace

} // namespace qmx::pair_kernel
