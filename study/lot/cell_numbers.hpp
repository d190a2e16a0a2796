// Which records lie in one cell: each cell gets a number, without sorting.
#pragma once

#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <vector>

#include <qmx_ic.h>

namespace qmx_study {

// std::round, which is a call where it needs no newer processor: the largest number below a half makes no
// tie of what is none.
inline double rounded_half_away(double value) {
    constexpr double without_fraction = 4503599627370496; // 2^52, and all beyond
    constexpr double below_half = 0.49999999999999994;
    if (!(std::fabs(value) < without_fraction)) return value;
    return static_cast<double>(static_cast<std::int64_t>(value + std::copysign(below_half, value)));
}

class cell_numbers {
public:
    // steps: of a cell's side, in a unit of the positions.
    cell_numbers(const std::vector<t_icdata>& of, double steps) : points(of), scale(steps) {
        slots.resize(std::size_t{1} << bits);
    }

    // Calls visit(index of the point, number of its cell), point by point. Cells are numbered from 0 in the
    // order of their first points; those without a position have none.
    template <class Visit> void for_each(Visit visit) {
        constexpr std::size_t together =
            32; // whose memory is on its way while others are looked at
        std::array<wanted, together> now;
        for (std::size_t first = 0; first < points.size(); first += together) {
            const std::size_t count = std::min(together, points.size() - first);
            for (std::size_t i = 0; i < count; ++i) {
                now[i].where = place_of(first + i);
                now[i].cell = neighbour(now[i].where);
                if (now[i].cell == unknown) prefetch(&slots[slot_of(hash_of(now[i].where))]);
            }
            for (std::size_t i = 0; i < count; ++i) {
                if (now[i].cell != unknown) continue;
                const std::uint64_t hash = hash_of(now[i].where);
                if (const slot& likely = slots[slot_of(hash)];
                    likely.mark == mark_of(hash) && likely.cell_and_1 > 0)
                    prefetch(&points[firsts[likely.cell_and_1 - 1]]);
            }
            for (std::size_t i = 0; i < count; ++i) {
                const place& where = now[i].where;
                if (std::isnan(where.x) || std::isnan(where.y)) continue;
                if (now[i].cell == unknown)
                    now[i].cell = number_of(where, static_cast<std::uint32_t>(first + i));
                visit(first + i, now[i].cell);
            }
        }
    }

    std::size_t size() const { return firsts.size(); }

private:
    static constexpr std::uint32_t unknown = 0xFFFFFFFF;
    struct place {
        double x, y; // in whole steps
        bool operator==(const place&) const = default;
    };
    struct wanted {
        place where;
        std::uint32_t cell;
    };
    struct slot {
        std::uint32_t cell_and_1 = 0; // 0: free
        std::uint32_t mark = 0;
    };

    const std::vector<t_icdata>& points;
    double scale;
    int bits = 12;
    std::vector<slot> slots;
    std::vector<std::uint32_t> firsts; // of each cell, the first point
    // A later pass goes through the cells in the order of the first one, or row by row backwards: then the
    // cell beside the last one is tried before the table, and that of the last leap. Trusted as long as it
    // holds. Differences are modulo 2^32: also negative ones.
    std::uint32_t last = unknown;
    std::uint32_t step = 1; // -1, 0 or 1
    std::uint32_t leap = 1; // any
    int trust = 0;

    static void prefetch(const void* memory) {
#if defined(__GNUC__)
        __builtin_prefetch(memory);
#else
        static_cast<void>(memory);
#endif
    }

    place place_of(std::size_t index) const {
        // A zero has one sign.
        const double x = rounded_half_away(points[index].d_x * scale) + 0.0;
        const double y = rounded_half_away(points[index].d_y * scale) + 0.0;
        return {x, y};
    }
    static std::uint64_t hash_of(const place& where) {
        std::uint64_t of_x, of_y;
        std::memcpy(&of_x, &where.x, sizeof of_x);
        std::memcpy(&of_y, &where.y, sizeof of_y);
        std::uint64_t hash = of_x * 0x9E3779B97F4A7C15u;
        hash = (hash ^ hash >> 32 ^ of_y) * 0xD6E8FEB86659FD93u;
        return (hash ^ hash >> 32) * 0xD6E8FEB86659FD93u;
    }

    // The cell in a direction that the last ones took, where it is this one.
    std::uint32_t neighbour(const place& where) {
        if (trust == 0) return unknown;
        for (const std::uint32_t way : {step, leap}) {
            const std::uint32_t next = last + way;
            if (next >= firsts.size() || !(place_of(firsts[next]) == where)) continue;
            trust = most_trust;
            return last = next;
        }
        --trust;
        return unknown;
    }
    static constexpr int most_trust = 4;

    void learn_direction(std::uint32_t cell) {
        const std::uint32_t taken = cell - last;
        const bool is_step = taken + 1 <= 2;
        if (is_step || taken == leap) trust = most_trust;
        (is_step ? step : leap) = taken;
        last = cell;
    }

    std::size_t slot_of(std::uint64_t hash) const {
        return static_cast<std::size_t>(hash >> (64 - bits));
    }
    static std::uint32_t mark_of(std::uint64_t hash) {
        return static_cast<std::uint32_t>(hash);
    }

    std::uint32_t number_of(const place& where, std::uint32_t index) {
        const std::uint64_t hash = hash_of(where);
        std::size_t at = slot_of(hash);
        for (; slots[at].cell_and_1 > 0; at = (at + 1) & (slots.size() - 1)) {
            if (slots[at].mark != mark_of(hash)) continue;
            const std::uint32_t cell = slots[at].cell_and_1 - 1;
            if (!(place_of(firsts[cell]) == where)) continue;
            learn_direction(cell);
            return cell;
        }
        const auto cell = static_cast<std::uint32_t>(firsts.size());
        last = cell;
        slots[at] = {cell + 1, mark_of(hash)};
        firsts.push_back(index);
        if (4 * firsts.size() > 3 * slots.size()) grow();
        return cell;
    }

    void grow() {
        ++bits;
        slots = {}; // not both at a time
        slots.resize(std::size_t{1} << bits);
        for (std::size_t cell = 0; cell < firsts.size(); ++cell) {
            const std::uint64_t hash = hash_of(place_of(firsts[cell]));
            std::size_t at = slot_of(hash);
            while (slots[at].cell_and_1 > 0) at = (at + 1) & (slots.size() - 1);
            slots[at] = {static_cast<std::uint32_t>(cell) + 1, mark_of(hash)};
        }
    }
};

} // namespace qmx_study
