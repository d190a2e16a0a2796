#include "semivariogram/row_search.hpp"

#include <bit>
#include <cstring>

namespace qmx {

using namespace pair_kernel;

namespace {

constexpr std::uint64_t high_bits = 0x8080808080808080U; // set in open_class, in no class number

std::uint64_t classes_at(const pair_block& block, i64 first) {
    std::uint64_t word;
    std::memcpy(&word, block.lag_class + first, sizeof word);
    return word;
}

f32 distance_at(const pair_block& block, i64 t) {
    return block.pairs[2 * t];
}

// The first open pair from t on, or count.
i64 next_open(const pair_block& block, i64 t, i64 count) {
    while (t < count) {
        const std::uint64_t open = (classes_at(block, t & ~i64{7}) & high_bits) >> (8 * (t & 7));
        if (open != 0) {
            t += std::countr_zero(open) / 8;
            return t < count ? t : count;
        }
        t = (t & ~i64{7}) + 8;
    }
    return count;
}

// The last pair in a class before t, or -1.
i64 last_in_class(const pair_block& block, i64 t) {
    while (t > 0) {
        const i64 word = (t - 1) & ~i64{7};
        const std::uint64_t found = classes_at(block, word) << (8 * (7 - (t - 1 - word)));
        if (found != 0) return t - 1 - std::countl_zero(found) / 8;
        t = word;
    }
    return -1;
}

// The last found pair of a regular row before pair t, all classes before t being settled.
last_found found_before(const pair_block& block, i64 t, const last_found& before_block) {
    const i64 found = last_in_class(block, t);
    if (found < 0) return before_block;
    const i32 k = block.lag_class[found];
    // A regular row has coincident pairs only while its class is the first.
    return {distance_at(block, found), k == coincident_class ? first_distance_class : k};
}

bool is_coincident(f32 h) {
    return h <= epsilon_distance;
}

// The state that a coincident pair leaves.
void coincide(const class_certainty& certainty, f32 h, i32 lastlag, row_state& state) {
    state.last = {h, lastlag};
    if (lastlag == first_distance_class) return;
    state.manner = lastlag >= certainty.dead_from ? row_manner::dead : row_manner::searched;
}

} // namespace

void settle_block(const lag_classes& classes, const class_certainty& certainty, bool any_open,
                  row_state& state, pair_block& block) {
    const i64 count = block.count;
    i64 t = 0;
    i64 regular_from = 0; // pairs before it are accounted for in state.last
    while (t < count) {
        std::uint8_t* const lag_class = block.lag_class;
        if (state.manner == row_manner::dead) {
            for (; t < count; ++t) {
                const bool found =
                    lag_class[t] == open_class && is_coincident(distance_at(block, t));
                lag_class[t] = found ? coincident_class : no_class;
            }
            return;
        }
        if (state.manner == row_manner::searched) {
            for (; t < count && state.manner == row_manner::searched; ++t) {
                if (lag_class[t] == no_class) continue;
                const f32 h = distance_at(block, t);
                if (is_coincident(h)) {
                    lag_class[t] = coincident_class;
                    state.last.lastdist = h;
                    continue;
                }
                const i32 k = find_lag_class(classes, h, state.last);
                lag_class[t] = static_cast<std::uint8_t>(k);
                if (k == 0) continue;
                state.last = {h, k};
                state.manner = row_manner::regular;
            }
            regular_from = t;
            continue;
        }
        if (!any_open) break;
        t = next_open(block, t, count);
        if (t == count) break;
        const f32 h = distance_at(block, t);
        const i64 found = last_in_class(block, t);
        const last_found last =
            found < regular_from ? state.last : found_before(block, t, state.last);
        if (is_coincident(h)) {
            lag_class[t] = coincident_class;
            coincide(certainty, h, last.lastlag, state);
            regular_from = t + 1;
        } else {
            lag_class[t] = static_cast<std::uint8_t>(find_lag_class(classes, h, last));
        }
        ++t;
    }
    if (state.manner == row_manner::regular) {
        const i64 found = last_in_class(block, count);
        if (found >= regular_from) state.last = found_before(block, count, state.last);
    }
}

} // namespace qmx
