// The loops of the pair kernel for one row alone. Compiled like pair_kernel_body.hpp, beside it.
#pragma once

#include "semivariogram/kernel/pair_kernel_body.hpp"

namespace qmx::pair_kernel {

namespace {

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

// What a class with needs keeps of each row.
template <bool Twice> inline void add_apart(row_sums& sums, i64 k, f64 distance, f64 square) {
    const auto add = [](two_starts<f64>& to, f64 term) {
        add_term<Twice>(to.even, term);
        add_term<Twice>(to.odd, term);
    };
    const unsigned needs = sums.needs[k];
    separate_sums<f64>& to = sums.of[k];
    if ((needs & class_needs::apart) != 0) add(to.squares, square);
    if ((needs & class_needs::next_squares) != 0) add(to.next_squares, square);
    if ((needs & class_needs::ordered_distance) != 0) add(to.ordered_distance, distance);
}

// A pair that counts once and has no square.
inline void add_once(class_sums& sums, i64 k, f64 distance) {
    ++sums.of[k].count;
    sums.of[k].distance += distance;
}

inline void add_once(row_sums& sums, i64 k, f64 distance) {
    ++sums.pooled[k].count[0];
    sums.pooled[k].sums[0].distance += distance;
    sums.of[k].ordered_distance.even += distance;
    sums.of[k].ordered_distance.odd += distance;
}

// A register's width of a row's pairs, classified.
struct block_part {
    i64 held;       // of the width
    unsigned found; // pairs with a square
    unsigned once;  // pairs that count once, having none
    alignas(64) f32 keys[width];
    alignas(64) f64 terms[2 * width]; // square and distance of each pair
};

template <bool Marked>
inline void classify_part(const search_rules& rules, const rule_lanes& rule, row_lanes& rows,
                          const pair_block& block, i64 at, block_part& part) {
    alignas(64) f32 distances[width];
    part.held = block.count - at < width ? block.count - at : width;
    part.found = (1U << part.held) - 1;
    const reals h = root(load(block.squared_distance + at));
    reals key;
    const unsigned certain = bits_of(rule.classify(h, all(rules.certainty.half_width), key));
    store(distances, h);
    store(part.keys, key);
    if ((part.found & ~certain) != 0 || !(rows.half_width[0] > 0)) {
        part.found = settle_in_order(rules, rows, part.found, certain, distances, part.keys);
    } else {
        rows.last_distance[0] = distances[part.held - 1];
        rows.last_key[0] = part.keys[part.held - 1];
    }
    if (rule.is_directed)
        part.found = bits_of(
            rule.accepts(flags_of(part.found), load(block.dx + at), load(block.dy + at), h));
    const reals difference = all(rows.value[0]) - load(block.value + at);
    const reals square = difference * difference;
    part.once = 0;
    if constexpr (Marked) {
        const unsigned marked = part.found & ~bits_of(is_number(square));
        if (marked != 0) part.once = counted_once(marked, block.value + at);
        part.found &= ~marked;
    }
    store_pairs(part.terms, square, h);
}

template <bool Twice> inline void add_pair(row_sums& sums, i64 k, i64 turn, const f64* term) {
    row_sums::of_all_rows& to = sums.pooled[k];
    add_two<Twice>(&to.sums[turn].squares, term);
    to.count[turn] += Twice ? 2 : 1;
}

template <bool Twice> inline void add_part(const block_part& part, class_sums& sums) {
    for (unsigned left = part.found; left != 0; left &= left - 1) {
        const i64 t = lowest_bit(left);
        add_pair<Twice>(sums, class_of(part.keys[t]), part.terms[2 * t + 1], part.terms[2 * t]);
    }
}

template <bool Twice> inline void add_part(const block_part& part, row_sums& sums) {
    const auto add = [&](i64 t) {
        add_pair<Twice>(sums, class_of(part.keys[t]), t % row_sums::turns, part.terms + 2 * t);
    };
    if (part.found == (1U << width) - 1) {
#pragma GCC unroll 16
        for (i64 t = 0; t < width; ++t) add(t);
    } else {
        for (unsigned left = part.found; left != 0; left &= left - 1) add(lowest_bit(left));
    }
    if (!sums.any_needs) return;
    unsigned listed = 0;
    for (i64 t = 0; t < width; ++t)
        listed |= static_cast<unsigned>(sums.has_needs[class_of(part.keys[t])]) << t;
    for (listed &= part.found; listed != 0; listed &= listed - 1) {
        const i64 t = lowest_bit(listed);
        add_apart<Twice>(sums, class_of(part.keys[t]), part.terms[2 * t + 1], part.terms[2 * t]);
    }
}

// The same where some pairs have no square, which count once. A class adds its distances in order.
template <bool Twice, class Sums>
[[gnu::noinline]] void add_marked_part(const block_part& part, row_lanes& rows, Sums& sums) {
    for (unsigned left = part.found | part.once; left != 0; left &= left - 1) {
        block_part one = part;
        const unsigned bit = left & (0U - left);
        one.found &= bit;
        if (one.found != 0) {
            add_part<Twice>(one, sums);
            continue;
        }
        const i64 t = lowest_bit(left);
        const i64 k = class_of(part.keys[t]);
        rows.has_nan[k] = true;
        add_once(sums, k, part.terms[2 * t + 1]);
    }
}

template <bool Twice, bool Marked, class Sums>
void add_block(const search_rules& rules, const rule_lanes& rule, row_lanes& rows,
               pair_block& block, Sums& sums) {
    block_part part;
    block.clear_rest();
    for (i64 at = 0; at < block.count; at += width) {
        classify_part<Marked>(rules, rule, rows, block, at, part);
        if (Marked && part.once != 0)
            add_marked_part<Twice>(part, rows, sums);
        else
            add_part<Twice>(part, sums);
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
