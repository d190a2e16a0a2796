// The loops of the pair kernel for points in an order of their own. Compiled like pair_kernel_body.hpp,
// beside it.
#pragma once

#include "semivariogram/kernel/row_kernel_body.hpp"

namespace qmx::pair_kernel {

namespace {

inline void set_aside(open_pairs& open, unsigned pairs, bool one_row, const i32* numbers) {
    for (; pairs != 0; pairs &= pairs - 1) {
        const i64 t = lowest_bit(pairs);
        open.lane[open.count] = one_row ? 0 : static_cast<i32>(t);
        open.candidate[open.count++] = numbers[t];
    }
}

// One stretch from the given step on; returns the step to go on with, or count.
inline i64 sweep_stretch(const rule_lanes& rule, const search_rules& rules, const row_lanes& rows,
                         const placed_points& candidates, i64 at, i64 count, pair_queue& queue,
                         lane_sums& sums, open_pairs& open) {
    const reals xi = load(rows.x);
    const reals yi = load(rows.y);
    const reals vi = load(rows.value);
    const reals limit = load(rows.limit);
    const reals half_width = all(rules.certainty.half_width);
    for (; at < count && open.count <= open.most - width; ++at) {
        const reals dx = load(candidates.at.x + at) - xi;
        const reals dy = load(candidates.at.y + at) - yi;
        const reals hs = dx * dx + dy * dy;
        flags found = both(at_most(hs, limit), greater(candidates.number + at, rows.number));
        if (at < 0 || at + width > count) found = both(found, lanes_between(-at, count - at));
        if (bits_of(found) == 0) continue;
        const reals h = root(hs);
        reals key;
        const flags certain = both(found, rule.classify(h, half_width, key));
        const unsigned uncertain = bits_of(found) & ~bits_of(certain);
        if (uncertain != 0) set_aside(open, uncertain, false, candidates.number + at);
        const reals difference = vi - load(candidates.at.value + at);
        const std::uint64_t step = queue.entered % queue.steps;
        queue.found[step] = bits_of(certain);
        store(queue.key[step], choose(certain, key, all(key_of_nothing)));
        store(queue.distance[step], h);
        store(queue.square[step], difference * difference);
        if (++queue.entered >= queue.steps)
            add_step<true>(queue, queue.entered - queue.steps, sums);
    }
    return at;
}

inline placed_points points_from(const placed_points& all, i64 first) {
    return {{all.at.x + first, all.at.y + first, all.at.value + first}, all.number + first};
}

bool sweep_placed_rows(const search_rules& rules, const row_lanes& rows,
                       placed_stretches& candidates, lane_sums& sums, open_pairs& open) {
    const rule_lanes rule(rules);
    pair_queue queue;
    bool done = true;
    for (; done && candidates.next < candidates.count; candidates.next += done ? 1 : 0) {
        const placed_stretches::stretch& part = candidates.list[candidates.next];
        const i64 end = sweep_stretch(rule, rules, rows, points_from(candidates.all, part.first),
                                      candidates.at + 1 - width, part.count, queue, sums, open);
        done = end >= part.count;
        candidates.at = done ? 0 : end + width - 1;
    }
    add_rest<true>(queue, sums);
    return done;
}

// Numbers as lanes of f32, only to be moved.
inline reals load_numbers(const i32* from) {
    f32 bits[width];
    std::memcpy(bits, from, sizeof bits);
    return load(bits);
}

// Adds the pairs of a block whose class is certain, and sets the others aside. The numbers of the
// candidates stand in dx.
inline void add_placed_block(const rule_lanes& rule, const reals& half_width, f32 value,
                             pair_block& block, row_sums& sums, open_pairs& open) {
    block_part part;
    block.clear_rest();
    for (i64 at = 0; at < block.count; at += width) {
        part.held = block.count - at < width ? block.count - at : width;
        const unsigned found = (1U << part.held) - 1;
        const reals h = root(load(block.squared_distance + at));
        reals key;
        part.found = found & bits_of(rule.classify(h, half_width, key));
        if (part.found != found) {
            i32 numbers[width];
            std::memcpy(numbers, block.dx + at, sizeof numbers);
            set_aside(open, found & ~part.found, true, numbers);
        }
        store(part.keys, key);
        const reals difference = all(value) - load(block.value + at);
        store_pairs(part.terms, difference * difference, h);
        add_part<true>(part, sums);
    }
    block.count = 0;
}

bool sweep_placed_row(const search_rules& rules, const row_lanes& rows,
                      placed_stretches& candidates, row_sums& sums, open_pairs& open) {
    const rule_lanes rule(rules);
    const reals xi = all(rows.x[0]);
    const reals yi = all(rows.y[0]);
    const reals limit = all(rows.limit[0]);
    const reals half_width = all(rules.certainty.half_width);
    alignas(64) i32 own[width];
    for (i64 t = 0; t < width; ++t) own[t] = rows.number[0];
    pair_block block;
    const auto has_room = [&] { return open.count < open.most - 2 * block.most; };
    for (; candidates.next < candidates.count && has_room(); ++candidates.next) {
        const placed_stretches::stretch& part = candidates.list[candidates.next];
        const placed_points from = points_from(candidates.all, part.first);
        for (; candidates.at < part.count && has_room(); candidates.at += width) {
            const i64 at = candidates.at;
            const reals dx = load(from.at.x + at) - xi;
            const reals dy = load(from.at.y + at) - yi;
            const reals hs = dx * dx + dy * dy;
            unsigned found = bits_of(both(at_most(hs, limit), greater(from.number + at, own)));
            if (part.count - at < width) found &= (1U << (part.count - at)) - 1;
            store_packed(block.squared_distance + block.count, found, hs);
            store_packed(block.value + block.count, found, load(from.at.value + at));
            store_packed(block.dx + block.count, found, load_numbers(from.number + at));
            block.count += number_of(found);
            if (block.count > block.most - width)
                add_placed_block(rule, half_width, rows.value[0], block, sums, open);
        }
        if (candidates.at < part.count) break;
        candidates.at = 0;
    }
    add_placed_block(rule, half_width, rows.value[0], block, sums, open);
    return candidates.next == candidates.count;
}

} // namespace

} // namespace qmx::pair_kernel
