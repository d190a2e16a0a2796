// Numbers side by side, as wide as the compiler's target allows: sixteen, eight or four f32. Each
// operation is the IEEE one in every lane. Everything is local to the unit that includes this; what
// is compiled for newer processors calls nothing but intrinsics, which leave no function behind that
// the linker could take for others.
#pragma once

#include "frame/base_types.hpp"

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>

#if defined(__AVX2__)
#include <immintrin.h>
#endif

namespace qmx::pair_kernel {

namespace {

#if defined(__AVX512F__)

constexpr i64 width = 16;
using reals = __m512;
using flags = __mmask16; // one for each lane

inline reals all(f32 value) {
    return _mm512_set1_ps(value);
}
inline reals load(const f32* from) {
    return _mm512_loadu_ps(from);
}
// Operations with a mask of all lanes: GCC 12 warns of the header's own variable in the others.
inline reals root(reals a) {
    return _mm512_maskz_sqrt_ps(0xFFFF, a);
}
inline reals magnitude(reals a) {
    return _mm512_abs_ps(a);
}
inline flags below(reals a, reals b) {
    return _mm512_cmp_ps_mask(a, b, _CMP_LT_OQ);
}
inline flags at_most(reals a, reals b) {
    return _mm512_cmp_ps_mask(a, b, _CMP_LE_OQ);
}
inline flags both(flags a, flags b) {
    return a & b;
}
inline flags either(flags a, flags b) {
    return a | b;
}
inline unsigned bits_of(flags a) {
    return a;
}
inline i64 number_of(unsigned bits) {
    return _mm_popcnt_u32(bits);
}
// The lanes whose bits are set, side by side. A whole vector is written; what follows them has no
// meaning.
inline void store_packed(f32* to, unsigned bits, reals lanes) {
    _mm512_storeu_ps(to, _mm512_maskz_compress_ps(static_cast<__mmask16>(bits), lanes));
}
inline void store_alternating(f32* to, reals a, reals b) {
    const __m512i low = _mm512_setr_epi32(0, 16, 1, 17, 2, 18, 3, 19, 4, 20, 5, 21, 6, 22, 7, 23);
    const __m512i high =
        _mm512_setr_epi32(8, 24, 9, 25, 10, 26, 11, 27, 12, 28, 13, 29, 14, 30, 15, 31);
    _mm512_storeu_ps(to, _mm512_permutex2var_ps(a, low, b));
    _mm512_storeu_ps(to + width, _mm512_permutex2var_ps(a, high, b));
}
// The lowest byte of each lane's bits where flagged, 255 elsewhere.
inline void store_bytes(std::uint8_t* to, flags a, reals lanes) {
    const __m512i bytes =
        _mm512_mask_mov_epi32(_mm512_set1_epi32(255), a, _mm512_castps_si512(lanes));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to), _mm512_maskz_cvtepi32_epi8(0xFFFF, bytes));
}
// Bits of a word: how many are set, and the number of the lowest, or 64.
inline i64 bits_set(std::uint64_t word) {
    return _mm_popcnt_u64(word);
}
inline i64 lowest_bit(std::uint64_t word) {
    return static_cast<i64>(_tzcnt_u64(word));
}
// Of eight bytes, and of eight pairs of f32, those whose byte in `keep` is 255 and not 0. All eight
// places are written. Returns the number of pairs.
inline std::uint64_t pack_bytes(std::uint64_t bytes, std::uint64_t keep) {
    return _pext_u64(bytes, keep);
}
inline i64 pack_pairs(f32* to, const f32* from, std::uint64_t keep) {
    const unsigned bits =
        static_cast<unsigned>(_mm_movemask_epi8(_mm_cvtsi64_si128(static_cast<i64>(keep))));
    const __m512i pairs = _mm512_loadu_si512(from);
    _mm512_storeu_si512(to, _mm512_maskz_compress_epi64(static_cast<__mmask8>(bits), pairs));
    return number_of(bits);
}

#elif defined(__AVX2__)

constexpr i64 width = 8;
using reals = __m256;
using flags = __m256; // all ones or all zeros in each lane

inline reals all(f32 value) {
    return _mm256_set1_ps(value);
}
inline reals load(const f32* from) {
    return _mm256_loadu_ps(from);
}
inline reals root(reals a) {
    return _mm256_sqrt_ps(a);
}
inline reals magnitude(reals a) {
    return _mm256_andnot_ps(_mm256_set1_ps(-0.0F), a);
}
inline flags below(reals a, reals b) {
    return _mm256_cmp_ps(a, b, _CMP_LT_OQ);
}
inline flags at_most(reals a, reals b) {
    return _mm256_cmp_ps(a, b, _CMP_LE_OQ);
}
inline flags both(flags a, flags b) {
    return _mm256_and_ps(a, b);
}
inline flags either(flags a, flags b) {
    return _mm256_or_ps(a, b);
}
inline unsigned bits_of(flags a) {
    return static_cast<unsigned>(_mm256_movemask_ps(a));
}

// For each set of lanes their numbers, packed in three bits each.
struct lane_orders {
    std::uint32_t of[256];
};
constexpr lane_orders make_lane_orders() {
    lane_orders orders = {};
    for (unsigned set = 0; set < 256; ++set) {
        unsigned place = 0;
        for (unsigned lane = 0; lane < 8; ++lane)
            if ((set >> lane & 1) != 0) orders.of[set] |= lane << (3 * place++);
    }
    return orders;
}
constexpr lane_orders orders = make_lane_orders();

inline i64 number_of(unsigned bits) {
    return _mm_popcnt_u32(bits);
}
inline void store_packed(f32* to, unsigned bits, reals lanes) {
    const __m256i order = _mm256_srlv_epi32(_mm256_set1_epi32(static_cast<int>(orders.of[bits])),
                                            _mm256_setr_epi32(0, 3, 6, 9, 12, 15, 18, 21));
    _mm256_storeu_ps(to, _mm256_permutevar8x32_ps(lanes, order));
}
inline void store_alternating(f32* to, reals a, reals b) {
    const __m256 low = _mm256_unpacklo_ps(a, b);
    const __m256 high = _mm256_unpackhi_ps(a, b);
    _mm256_storeu_ps(to, _mm256_permute2f128_ps(low, high, 0x20));
    _mm256_storeu_ps(to + width, _mm256_permute2f128_ps(low, high, 0x31));
}
inline void store_bytes(std::uint8_t* to, flags a, reals lanes) {
    const __m256i wide =
        _mm256_or_si256(_mm256_castps_si256(lanes),
                        _mm256_xor_si256(_mm256_castps_si256(a), _mm256_set1_epi32(-1)));
    const __m256i low_bytes = _mm256_and_si256(wide, _mm256_set1_epi32(255));
    const __m128i words =
        _mm_packus_epi32(_mm256_castsi256_si128(low_bytes), _mm256_extracti128_si256(low_bytes, 1));
    _mm_storel_epi64(reinterpret_cast<__m128i*>(to), _mm_packus_epi16(words, words));
}
inline i64 bits_set(std::uint64_t word) {
    return _mm_popcnt_u64(word);
}
inline i64 lowest_bit(std::uint64_t word) {
    return static_cast<i64>(_tzcnt_u64(word));
}
inline std::uint64_t pack_bytes(std::uint64_t bytes, std::uint64_t keep) {
    return _pext_u64(bytes, keep);
}
inline i64 pack_pairs(f32* to, const f32* from, std::uint64_t keep) {
    const unsigned bits =
        static_cast<unsigned>(_mm_movemask_epi8(_mm_cvtsi64_si128(static_cast<i64>(keep))));
    const auto pack_four = [](f32* place, __m256 pairs, unsigned set) {
        // Both halves of a pair move: the set of pairs becomes one of lanes.
        const std::uint32_t lanes = static_cast<std::uint32_t>(_pdep_u32(set, 0x55U) * 3U);
        store_packed(place, lanes, pairs);
    };
    const __m256 first = load(from);
    const __m256 second = load(from + width);
    pack_four(to, first, bits & 15U);
    pack_four(to + 2 * number_of(bits & 15U), second, bits >> 4);
    return number_of(bits);
}

#else

// Plain loops, which compilers turn into what the processor has.
constexpr i64 width = 4;
struct reals {
    f32 lane[width];
};
struct flags {
    std::uint32_t lane[width]; // all ones or all zeros
};

template <class Lanes, class Operation> inline Lanes for_each_lane(const Operation& operation) {
    Lanes result;
    for (i64 t = 0; t < width; ++t) result.lane[t] = operation(t);
    return result;
}
inline reals operator+(const reals& a, const reals& b) {
    return for_each_lane<reals>([&](i64 t) { return a.lane[t] + b.lane[t]; });
}
inline reals operator-(const reals& a, const reals& b) {
    return for_each_lane<reals>([&](i64 t) { return a.lane[t] - b.lane[t]; });
}
inline reals operator*(const reals& a, const reals& b) {
    return for_each_lane<reals>([&](i64 t) { return a.lane[t] * b.lane[t]; });
}
inline reals operator/(const reals& a, const reals& b) {
    return for_each_lane<reals>([&](i64 t) { return a.lane[t] / b.lane[t]; });
}
inline reals all(f32 value) {
    return for_each_lane<reals>([&](i64) { return value; });
}
inline reals load(const f32* from) {
    reals a;
    std::memcpy(&a, from, sizeof a);
    return a;
}
inline reals root(const reals& a) {
    return for_each_lane<reals>([&](i64 t) { return std::sqrt(a.lane[t]); });
}
inline reals magnitude(const reals& a) {
    return for_each_lane<reals>([&](i64 t) { return std::fabs(a.lane[t]); });
}
inline flags below(const reals& a, const reals& b) {
    return for_each_lane<flags>([&](i64 t) { return a.lane[t] < b.lane[t] ? ~0U : 0U; });
}
inline flags at_most(const reals& a, const reals& b) {
    return for_each_lane<flags>([&](i64 t) { return a.lane[t] <= b.lane[t] ? ~0U : 0U; });
}
inline flags both(const flags& a, const flags& b) {
    return for_each_lane<flags>([&](i64 t) { return a.lane[t] & b.lane[t]; });
}
inline flags either(const flags& a, const flags& b) {
    return for_each_lane<flags>([&](i64 t) { return a.lane[t] | b.lane[t]; });
}
inline unsigned bits_of(const flags& a) {
    unsigned bits = 0;
    for (i64 t = 0; t < width; ++t) bits |= (a.lane[t] & 1U) << t;
    return bits;
}
inline i64 number_of(unsigned bits) {
    return 0x4332322132212110 >> (4 * bits) & 15;
}
inline void store_packed(f32* to, unsigned bits, const reals& lanes) {
    for (i64 t = 0; t < width; ++t) {
        *to = lanes.lane[t];
        to += bits >> t & 1U;
    }
}
inline void store_alternating(f32* to, const reals& a, const reals& b) {
    for (i64 t = 0; t < width; ++t) {
        to[2 * t] = a.lane[t];
        to[2 * t + 1] = b.lane[t];
    }
}
inline void store_bytes(std::uint8_t* to, const flags& a, const reals& lanes) {
    for (i64 t = 0; t < width; ++t) {
        std::uint32_t bits;
        std::memcpy(&bits, &lanes.lane[t], sizeof bits);
        to[t] = static_cast<std::uint8_t>(bits | ~a.lane[t]);
    }
}
inline i64 bits_set(std::uint64_t word) {
    return std::popcount(word);
}
inline i64 lowest_bit(std::uint64_t word) {
    return std::countr_zero(word);
}
inline std::uint64_t pack_bytes(std::uint64_t bytes, std::uint64_t keep) {
    std::uint8_t each[8], kept[8];
    std::memcpy(each, &bytes, sizeof each);
    std::memcpy(kept, &keep, sizeof kept);
    std::uint8_t result[8] = {};
    i64 place = 0;
    for (i64 t = 0; t < 8; ++t) {
        result[place] = each[t];
        place += kept[t] & 1;
    }
    std::memcpy(&bytes, result, sizeof bytes);
    return bytes;
}
inline i64 pack_pairs(f32* to, const f32* from, std::uint64_t keep) {
    std::uint8_t kept[8];
    std::memcpy(kept, &keep, sizeof kept);
    i64 place = 0;
    for (i64 t = 0; t < 8; ++t) {
        std::uint64_t pair;
        std::memcpy(&pair, from + 2 * t, sizeof pair);
        std::memcpy(to + 2 * place, &pair, sizeof pair);
        place += kept[t] & 1;
    }
    return place;
}

#endif

} // namespace

} // namespace qmx::pair_kernel
