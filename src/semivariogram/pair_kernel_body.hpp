// The loops of the pair kernel, written once. Each translation unit that includes this file compiles
// them for the instructions that its compiler flags allow. Everything here is local to that unit.
#pragma once

#include "semivariogram/lanes.hpp"
#include "semivariogram/pair_kernel.hpp"

namespace qmx::pair_kernel {

namespace {

static_assert(lanes_at_once % width == 0);

// ---- Pairs in range ----------------------------------------------------------------------------

template <bool Offsets>
inline void filter_points(const points& others, i64 count, const one_point& here, f32 greatest,
                          pair_block& block) {
    const reals xi = all(here.x);
    const reals yi = all(here.y);
    const reals vi = all(here.value);
    const reals limit = all(greatest);
    i64 found = block.count;
    for (i64 t = 0; t < count; t += width) {
        const reals dx = load(others.x + t) - xi;
        const reals dy = load(others.y + t) - yi;
        const reals hs = dx * dx + dy * dy;
        const reals difference = vi - load(others.value + t);
        unsigned in_range = bits_of(at_most(hs, limit));
        if (count - t < width) in_range &= (1U << (count - t)) - 1;
        store_packed(block.hs + found, in_range, hs);
        store_packed(block.measure + found, in_range, difference * difference);
        if constexpr (Offsets) {
            store_packed(block.dx + found, in_range, dx);
            store_packed(block.dy + found, in_range, dy);
        }
        found += number_of(in_range);
    }
    block.count = found;
}

void filter(const points& others, i64 count, const one_point& here, f32 greatest,
            pair_block& block) {
    filter_points<false>(others, count, here, greatest, block);
}

void filter_with_offsets(const points& others, i64 count, const one_point& here, f32 greatest,
                         pair_block& block) {
    filter_points<true>(others, count, here, greatest, block);
}

// ---- Classes and directions --------------------------------------------------------------------

template <bool Directed>
inline bool classify_pairs(const class_rule& rule, const direction_rule& direction,
                           pair_block& block) {
    // Adding and subtracting it rounds a small number to an integer. The bits of the sum count from
    // class 2 on, the class about distance 0.
    constexpr f32 integer_shift = 12582912.0F + 2.0F; // 1.5 * 2^23 and 2
    const reals shift = all(integer_shift);
    const reals inverse_lag = all(rule.inverse_lag);
    const reals xlag = all(rule.xlag);
    const reals half_width = all(rule.half_width);
    const reals epsilon = all(rule.epsilon);
    const reals uvxazm = all(direction.uvxazm);
    const reals uvyazm = all(direction.uvyazm);
    const reals csatol = all(direction.csatol);
    const reals bandwh = all(direction.bandwh);
    const reals uvzdec = all(direction.uvzdec);
    const reals bandwd = all(direction.bandwd);
    const i64 count = block.count;
    i64 sure = 0;
    for (i64 t = 0; t < count; t += width) {
        const reals h = root(load(block.hs + t));
        store_alternating(block.pairs + 2 * t, h, load(block.measure + t));
        const reals shifted = h * inverse_lag + shift;
        const reals offset = magnitude(h - xlag * (shifted - shift));
        const flags certain = both(at_most(offset, half_width), below(epsilon, h));
        store_bytes(block.lag_class + t, certain, shifted);
        unsigned bits = bits_of(certain);
        if (count - t < width) bits &= (1U << (count - t)) - 1;
        sure += number_of(bits);
        if constexpr (Directed) {
            const reals dx = load(block.dx + t);
            const reals dy = load(block.dy + t);
            const reals dcazm = (uvxazm * dx + uvyazm * dy) / h;
            const reals band = uvxazm * dy - uvyazm * dx;
            const flags off_band =
                either(below(bandwh, magnitude(band)), below(bandwd, magnitude(uvzdec * h)));
            store_bytes(block.rejected + t, either(below(magnitude(dcazm), csatol), off_band),
                        all(0));
        }
    }
    return sure < count;
}

bool classify(const class_rule& rule, pair_block& block) {
    return classify_pairs<false>(rule, {}, block);
}

bool classify_and_direct(const class_rule& rule, const direction_rule& direction,
                         pair_block& block) {
    return classify_pairs<true>(rule, direction, block);
}

using pair_bits = std::uint64_t; // distance and measure, moved as one

// Eight pairs at a time; they are written where pairs were read before.
void reject(pair_block& block) {
    i64 kept = 0;
    for (i64 t = 0; t < block.count; t += 8) {
        std::uint64_t classes, keep; // a byte for each pair
        std::memcpy(&classes, block.lag_class + t, sizeof classes);
        std::memcpy(&keep, block.rejected + t, sizeof keep);
        if (block.count - t < 8) keep &= (std::uint64_t{1} << 8 * (block.count - t)) - 1;
        const i64 kept_here = pack_pairs(block.pairs + 2 * kept, block.pairs + 2 * t, keep);
        classes = pack_bytes(classes, keep);
        std::memcpy(block.lag_class + kept, &classes, sizeof classes);
        kept += kept_here;
    }
    block.count = kept;
}

// ---- Waiting pairs -----------------------------------------------------------------------------

// Bit t tells whether class t differs from the one before it, for 64 pairs.
inline std::uint64_t class_changes(const std::uint8_t* lag_class) {
#if defined(__AVX512BW__)
    return _mm512_cmpneq_epi8_mask(_mm512_loadu_si512(lag_class),
                                   _mm512_loadu_si512(lag_class - 1));
#elif defined(__AVX2__)
    std::uint64_t alike = 0;
    for (int part = 0; part < 2; ++part) {
        const auto* const here = reinterpret_cast<const __m256i*>(lag_class + 32 * part);
        const auto* const before = reinterpret_cast<const __m256i*>(lag_class + 32 * part - 1);
        const int same = _mm256_movemask_epi8(
            _mm256_cmpeq_epi8(_mm256_loadu_si256(here), _mm256_loadu_si256(before)));
        alike |= static_cast<std::uint64_t>(static_cast<unsigned>(same)) << (32 * part);
    }
    return ~alike;
#else
    std::uint64_t changes = 0;
    for (int t = 0; t < 64; ++t)
        changes |= static_cast<std::uint64_t>(lag_class[t] != lag_class[t - 1]) << t;
    return changes;
#endif
}

inline void collect_one(const f32* pair, std::uint8_t lag_class, f32** next) {
    f32* const to = next[lag_class];
    std::memcpy(to, pair, sizeof(pair_bits));
    next[lag_class] = to + 2;
}

void collect(const pair_block& block, waiting_pairs& waiting) {
    constexpr i64 most_changes = 40; // in 64 pairs: with more, pairs are put down one by one
    f32** const next = waiting.next;
    for (i64 from = 0; from < block.count; from += 64) {
        const f32* const pairs = block.pairs + 2 * from;
        const std::uint8_t* const lag_class = block.lag_class + from;
        const i64 count = block.count - from < 64 ? block.count - from : 64;
        // Where the class changes, and the end.
        std::uint64_t ends =
            from == 0 ? class_changes(lag_class + 1) << 1 : class_changes(lag_class);
        ends &= ~std::uint64_t{1};
        if (count < 64) {
            const std::uint64_t end = std::uint64_t{1} << count;
            ends = (ends & (end - 1)) | end;
        }
        if (bits_set(ends) > most_changes) {
            i64 t = 0;
            for (; t + 8 <= count; t += 8)
#pragma GCC unroll 8
                for (int k = 0; k < 8; ++k)
                    collect_one(pairs + 2 * (t + k), lag_class[t + k], next);
            for (; t < count; ++t) collect_one(pairs + 2 * t, lag_class[t], next);
        } else {
            // Pairs of one class in a row: four, then eight at a time; what is too much is
            // overwritten.
            i64 first = 0;
            do {
                const i64 end = lowest_bit(ends); // 64 after the last change
                ends &= ends - 1;
                f32*& place = next[lag_class[first]];
                f32* to = place;
                place = to + 2 * (end - first);
                std::memcpy(to, pairs + 2 * first, 4 * sizeof(pair_bits));
                to += 8;
                for (i64 t = first + 4; t < end; t += 8, to += 16)
                    std::memcpy(to, pairs + 2 * t, 8 * sizeof(pair_bits));
                first = end;
            } while (first < count);
        }
        next[no_class] = waiting.cells;
    }
}

// ---- Sums --------------------------------------------------------------------------------------

// The sums of as many classes as fit side by side: distance and measure of each, alternating. A step
// adds one pair of each class; so many pairs are loaded from each class at once as there are classes.
#if defined(__AVX512F__)

constexpr int classes_at_once = 4;
using sums_at_once = __m512d;

inline void load_steps(const f32* const* from, i64 at, sums_at_once* step) {
    const auto pairs_of = [&](int k) {
        return _mm512_maskz_cvtps_pd(0xFF, _mm256_loadu_ps(from[k] + at));
    };
    const __m512d a = pairs_of(0), b = pairs_of(1), c = pairs_of(2), d = pairs_of(3);
    const __m512d ab_low = _mm512_maskz_shuffle_f64x2(0xFF, a, b, 0x44);
    const __m512d cd_low = _mm512_maskz_shuffle_f64x2(0xFF, c, d, 0x44);
    const __m512d ab_high = _mm512_maskz_shuffle_f64x2(0xFF, a, b, 0xEE);
    const __m512d cd_high = _mm512_maskz_shuffle_f64x2(0xFF, c, d, 0xEE);
    step[0] = _mm512_maskz_shuffle_f64x2(0xFF, ab_low, cd_low, 0x88);
    step[1] = _mm512_maskz_shuffle_f64x2(0xFF, ab_low, cd_low, 0xDD);
    step[2] = _mm512_maskz_shuffle_f64x2(0xFF, ab_high, cd_high, 0x88);
    step[3] = _mm512_maskz_shuffle_f64x2(0xFF, ab_high, cd_high, 0xDD);
}

#elif defined(__AVX2__)

constexpr int classes_at_once = 2;
using sums_at_once = __m256d;

inline void load_steps(const f32* const* from, i64 at, sums_at_once* step) {
    const __m256d a = _mm256_cvtps_pd(_mm_loadu_ps(from[0] + at));
    const __m256d b = _mm256_cvtps_pd(_mm_loadu_ps(from[1] + at));
    step[0] = _mm256_permute2f128_pd(a, b, 0x20);
    step[1] = _mm256_permute2f128_pd(a, b, 0x31);
}

#else

constexpr int classes_at_once = 1;
struct sums_at_once {
    f64 distance, measure;
};
inline sums_at_once operator+(const sums_at_once& a, const sums_at_once& b) {
    return {a.distance + b.distance, a.measure + b.measure};
}
inline void load_steps(const f32* const* from, i64 at, sums_at_once* step) {
    step[0] = {static_cast<f64>(from[0][at]), static_cast<f64>(from[0][at + 1])};
}

#endif

constexpr int most_groups = 6; // of classes, added side by side

// Some groups of classes in descending order of their waiting pairs.
struct waiting_groups {
    int groups;
    const f32* from[most_groups][classes_at_once];
    i64 steps[most_groups];
    sums_at_once sum[most_groups];
};

// Adds Groups groups from `done` to the end of the shortest, then the longer ones to theirs.
template <int Groups, bool Twice> inline void add_groups(waiting_groups& waiting, i64 done) {
    if constexpr (Groups > 0) {
        sums_at_once sum[Groups];
        for (int g = 0; g < Groups; ++g) sum[g] = waiting.sum[g];
        const i64 end = waiting.steps[Groups - 1];
        for (; done < end; done += classes_at_once) {
#pragma GCC unroll 8
            for (int g = 0; g < Groups; ++g) {
                sums_at_once step[classes_at_once];
                load_steps(waiting.from[g], 2 * done, step);
#pragma GCC unroll 4
                for (int s = 0; s < classes_at_once; ++s) {
                    sum[g] = sum[g] + step[s];
                    if constexpr (Twice) sum[g] = sum[g] + step[s];
                }
            }
        }
        for (int g = 0; g < Groups; ++g) waiting.sum[g] = sum[g];
        add_groups<Groups - 1, Twice>(waiting, done);
    }
}

template <bool Twice> inline void add_some(waiting_groups& waiting) {
    switch (waiting.groups) {
    case 6: return add_groups<6, Twice>(waiting, 0);
    case 5: return add_groups<5, Twice>(waiting, 0);
    case 4: return add_groups<4, Twice>(waiting, 0);
    case 3: return add_groups<3, Twice>(waiting, 0);
    case 2: return add_groups<2, Twice>(waiting, 0);
    default: return add_groups<1, Twice>(waiting, 0);
    }
}

inline i64 waiting_in(const waiting_pairs& waiting, i64 k) {
    return (waiting.next[k] - waiting.cells) / 2 - k * waiting.room_of_class;
}

void add(waiting_pairs& waiting, bool twice) {
    // Classes in descending order of their waiting pairs; empty ones are left out.
    i32 order[waiting_pairs::most_columns + classes_at_once];
    i64 number = 0;
    for (i32 k = 1; k < waiting.columns; ++k) {
        const i64 mine = waiting_in(waiting, k);
        if (mine == 0) continue;
        i64 place = number++;
        for (; place > 0 && waiting_in(waiting, order[place - 1]) < mine; --place)
            order[place] = order[place - 1];
        order[place] = k;
        waiting.counts[k] += static_cast<f64>(twice ? 2 * mine : mine);
    }
    for (i64 done = 0; done < number;) {
        waiting_groups groups = {};
        const i64 first = done;
        for (; groups.groups < most_groups && done < number; ++groups.groups) {
            const int g = groups.groups;
            // Whole steps of the class with most pairs; the others meet zeros, which leave a sum as
            // it is.
            const i64 most = waiting_in(waiting, order[done]);
            groups.steps[g] = (most + classes_at_once - 1) / classes_at_once * classes_at_once;
            f64 sums[2 * classes_at_once] = {};
            for (int c = 0; c < classes_at_once; ++c) {
                const i32 k = done + c < number ? order[done + c] : no_class;
                f32* const mine = waiting.cells + 2 * waiting.room_of_class * k;
                const i64 held = k == no_class ? 0 : waiting_in(waiting, k);
                std::memset(mine + 2 * held, 0,
                            sizeof(pair_bits) * static_cast<std::size_t>(groups.steps[g] - held));
                groups.from[g][c] = mine;
                sums[2 * c] = waiting.sums[2 * k];
                sums[2 * c + 1] = waiting.sums[2 * k + 1];
            }
            std::memcpy(&groups.sum[g], sums, sizeof sums);
            done += classes_at_once;
        }
        if (twice)
            add_some<true>(groups);
        else
            add_some<false>(groups);
        for (int g = 0; g < groups.groups; ++g) {
            f64 sums[2 * classes_at_once];
            std::memcpy(sums, &groups.sum[g], sizeof sums);
            for (int c = 0; c < classes_at_once; ++c) {
                const i64 place = first + g * classes_at_once + c;
                if (place >= number) break;
                waiting.sums[2 * order[place]] = sums[2 * c];
                waiting.sums[2 * order[place] + 1] = sums[2 * c + 1];
            }
        }
    }
    for (i64 k = 0; k < waiting.columns; ++k)
        waiting.next[k] = waiting.cells + 2 * k * waiting.room_of_class;
}

} // namespace

} // namespace qmx::pair_kernel
