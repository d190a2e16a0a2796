// Registers of sixteen, eight or four f32 and as many f64, whichever the compiler's target has. Each
// operation is the IEEE one in every lane. This file is compiled three times with different flags, so
// that all of it is local to its unit, and code for newer processors calls intrinsics only: the linker
// must find no function here that it could use for an older processor. selection/lanes.hpp names its
// operations alike, and shares no code: two f64, the same on every processor.
#pragma once

#include "base/base_types.hpp"

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
struct wide_reals {
    __m512d low, high;
};

inline reals all(f32 value) {
    return _mm512_set1_ps(value);
}
inline reals load(const f32* from) {
    return _mm512_loadu_ps(from);
}
inline void store(f32* to, reals a) {
    _mm512_storeu_ps(to, a);
}
inline reals backwards(reals a) {
    const __m512i order = _mm512_setr_epi32(15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0);
    return _mm512_maskz_permutexvar_ps(0xFFFF, order, a);
}
// With a mask of all lanes: without one GCC 12 warns about a variable in the compiler's own header.
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
inline flags equal(reals a, reals b) {
    return _mm512_cmp_ps_mask(a, b, _CMP_EQ_OQ);
}
inline flags greater(const i32* a, const i32* b) {
    return _mm512_cmpgt_epi32_mask(_mm512_loadu_si512(a), _mm512_loadu_si512(b));
}
inline flags is_number(reals a) {
    return _mm512_cmp_ps_mask(a, a, _CMP_ORD_Q);
}
inline flags both(flags a, flags b) {
    return a & b;
}
inline flags either(flags a, flags b) {
    return a | b;
}
inline flags without(flags a, flags b) {
    return static_cast<flags>(a & ~b);
}
inline reals choose(flags a, reals yes, reals no) {
    return _mm512_mask_mov_ps(no, a, yes);
}
inline unsigned bits_of(flags a) {
    return a;
}
inline flags flags_of(unsigned bits) {
    return static_cast<flags>(bits);
}
// Stores the lanes whose bits are set, contiguously. A whole register is written; the rest has no
// meaning.
inline void store_packed(f32* to, unsigned bits, reals lanes) {
    _mm512_storeu_ps(to, _mm512_maskz_compress_ps(static_cast<__mmask16>(bits), lanes));
}
// To f64, with 0 in lanes that are not flagged.
inline wide_reals widen(flags a, const f32* from) {
    return {_mm512_maskz_cvtps_pd(static_cast<__mmask8>(a), _mm256_loadu_ps(from)),
            _mm512_maskz_cvtps_pd(static_cast<__mmask8>(a >> 8), _mm256_loadu_ps(from + 8))};
}
inline wide_reals load_wide(const f64* from) {
    return {_mm512_loadu_pd(from), _mm512_loadu_pd(from + 8)};
}
inline void store_wide(f64* to, const wide_reals& a) {
    _mm512_storeu_pd(to, a.low);
    _mm512_storeu_pd(to + 8, a.high);
}
inline wide_reals operator+(const wide_reals& a, const wide_reals& b) {
    return {a.low + b.low, a.high + b.high};
}
// Adds lower and upper lanes to the same sums.
inline void add_halves(f64* sums, const wide_reals& a) {
    _mm512_storeu_pd(sums, _mm512_loadu_pd(sums) + (a.low + a.high));
}
// The same, each term rounded first as an addition to this power of two rounds it.
inline void add_rounded(f64* sums, f64 power, const wide_reals& a) {
    const __m512d from = _mm512_set1_pd(power);
    const __m512d low = (a.low + from) - from, high = (a.high + from) - from;
    _mm512_storeu_pd(sums, _mm512_loadu_pd(sums) + (low + high));
}
// To f64, lane by lane the one and the other.
inline void store_pairs(f64* to, reals a, reals b) {
    const __m512i lower = _mm512_setr_epi32(0, 16, 1, 17, 2, 18, 3, 19, 4, 20, 5, 21, 6, 22, 7, 23);
    const __m512i upper =
        _mm512_setr_epi32(8, 24, 9, 25, 10, 26, 11, 27, 12, 28, 13, 29, 14, 30, 15, 31);
    const auto widened = [](f64* place, reals pairs) {
        const __m256 first = _mm512_maskz_extractf32x8_ps(0xFF, pairs, 0);
        const __m256 second = _mm512_maskz_extractf32x8_ps(0xFF, pairs, 1);
        _mm512_storeu_pd(place, _mm512_maskz_cvtps_pd(0xFF, first));
        _mm512_storeu_pd(place + 8, _mm512_maskz_cvtps_pd(0xFF, second));
    };
    widened(to, _mm512_permutex2var_ps(a, lower, b));
    widened(to + 16, _mm512_permutex2var_ps(a, upper, b));
}

#elif defined(__AVX2__)

constexpr i64 width = 8;
using reals = __m256;
using flags = __m256; // all ones or all zeros in each lane
struct wide_reals {
    __m256d low, high;
};

inline reals all(f32 value) {
    return _mm256_set1_ps(value);
}
inline reals load(const f32* from) {
    return _mm256_loadu_ps(from);
}
inline void store(f32* to, reals a) {
    _mm256_storeu_ps(to, a);
}
inline reals backwards(reals a) {
    return _mm256_permutevar8x32_ps(a, _mm256_setr_epi32(7, 6, 5, 4, 3, 2, 1, 0));
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
inline flags equal(reals a, reals b) {
    return _mm256_cmp_ps(a, b, _CMP_EQ_OQ);
}
inline flags greater(const i32* a, const i32* b) {
    return _mm256_castsi256_ps(
        _mm256_cmpgt_epi32(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(a)),
                           _mm256_loadu_si256(reinterpret_cast<const __m256i*>(b))));
}
inline flags is_number(reals a) {
    return _mm256_cmp_ps(a, a, _CMP_ORD_Q);
}
inline flags both(flags a, flags b) {
    return _mm256_and_ps(a, b);
}
inline flags either(flags a, flags b) {
    return _mm256_or_ps(a, b);
}
inline flags without(flags a, flags b) {
    return _mm256_andnot_ps(b, a);
}
inline reals choose(flags a, reals yes, reals no) {
    return _mm256_blendv_ps(no, yes, a);
}
inline unsigned bits_of(flags a) {
    return static_cast<unsigned>(_mm256_movemask_ps(a));
}
inline flags flags_of(unsigned bits) {
    const __m256i bit_of_lane = _mm256_setr_epi32(1, 2, 4, 8, 16, 32, 64, 128);
    const __m256i mine = _mm256_and_si256(_mm256_set1_epi32(static_cast<int>(bits)), bit_of_lane);
    return _mm256_castsi256_ps(_mm256_cmpeq_epi32(mine, bit_of_lane));
}
// The lane numbers of each set of lanes, three bits each.
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

inline void store_packed(f32* to, unsigned bits, reals lanes) {
    const __m256i order = _mm256_srlv_epi32(_mm256_set1_epi32(static_cast<int>(orders.of[bits])),
                                            _mm256_setr_epi32(0, 3, 6, 9, 12, 15, 18, 21));
    _mm256_storeu_ps(to, _mm256_permutevar8x32_ps(lanes, order));
}
inline wide_reals widen(flags a, const f32* from) {
    const reals flagged = _mm256_and_ps(a, load(from));
    return {_mm256_cvtps_pd(_mm256_castps256_ps128(flagged)),
            _mm256_cvtps_pd(_mm256_extractf128_ps(flagged, 1))};
}
inline wide_reals load_wide(const f64* from) {
    return {_mm256_loadu_pd(from), _mm256_loadu_pd(from + 4)};
}
inline void store_wide(f64* to, const wide_reals& a) {
    _mm256_storeu_pd(to, a.low);
    _mm256_storeu_pd(to + 4, a.high);
}
inline wide_reals operator+(const wide_reals& a, const wide_reals& b) {
    return {a.low + b.low, a.high + b.high};
}
inline void add_halves(f64* sums, const wide_reals& a) {
    _mm256_storeu_pd(sums, _mm256_loadu_pd(sums) + (a.low + a.high));
}
inline void add_rounded(f64* sums, f64 power, const wide_reals& a) {
    const __m256d from = _mm256_set1_pd(power);
    const __m256d low = (a.low + from) - from, high = (a.high + from) - from;
    _mm256_storeu_pd(sums, _mm256_loadu_pd(sums) + (low + high));
}
inline void store_pairs(f64* to, reals a, reals b) {
    const reals even = _mm256_unpacklo_ps(a, b), odd = _mm256_unpackhi_ps(a, b); // pairs of pairs
    _mm256_storeu_pd(to, _mm256_cvtps_pd(_mm256_castps256_ps128(even)));
    _mm256_storeu_pd(to + 4, _mm256_cvtps_pd(_mm256_castps256_ps128(odd)));
    _mm256_storeu_pd(to + 8, _mm256_cvtps_pd(_mm256_extractf128_ps(even, 1)));
    _mm256_storeu_pd(to + 12, _mm256_cvtps_pd(_mm256_extractf128_ps(odd, 1)));
}

#elif !defined(__GNUC__) || defined(QMX_IC_LANES_OF_ARRAYS)

#include "semivariogram/kernel/lanes_of_arrays.hpp"

#else

// The compiler's vectors, for any processor.
constexpr i64 width = 4;
using reals = f32 __attribute__((vector_size(16)));
using flags = std::int32_t __attribute__((vector_size(16))); // all ones or all zeros in each lane
using wide_half = f64 __attribute__((vector_size(16)));
struct wide_reals {
    wide_half low, high;
};

inline reals all(f32 value) {
    return reals{value, value, value, value};
}
inline reals load(const f32* from) {
    reals a;
    std::memcpy(&a, from, sizeof a);
    return a;
}
inline void store(f32* to, reals a) {
    std::memcpy(to, &a, sizeof a);
}
inline reals backwards(reals a) {
    return reals{a[3], a[2], a[1], a[0]};
}
inline reals root(reals a) {
    return reals{std::sqrt(a[0]), std::sqrt(a[1]), std::sqrt(a[2]), std::sqrt(a[3])};
}
inline flags below(reals a, reals b) {
    return a < b;
}
inline flags at_most(reals a, reals b) {
    return a <= b;
}
inline flags equal(reals a, reals b) {
    return a == b;
}
inline flags greater(const i32* a, const i32* b) {
    flags left, right;
    std::memcpy(&left, a, sizeof left);
    std::memcpy(&right, b, sizeof right);
    return left > right;
}
inline flags is_number(reals a) {
    return a == a;
}
inline flags both(flags a, flags b) {
    return a & b;
}
inline flags either(flags a, flags b) {
    return a | b;
}
inline flags without(flags a, flags b) {
    return a & ~b;
}
inline reals choose(flags a, reals yes, reals no) {
    return std::bit_cast<reals>((a & std::bit_cast<flags>(yes)) | (~a & std::bit_cast<flags>(no)));
}
inline reals magnitude(reals a) {
    return std::bit_cast<reals>(std::bit_cast<flags>(a) & 0x7FFFFFFF);
}
inline unsigned bits_of(flags a) {
    return static_cast<unsigned>((a[0] & 1) | (a[1] & 2) | (a[2] & 4) | (a[3] & 8));
}
inline flags flags_of(unsigned bits) {
    const flags bit_of_lane = {1, 2, 4, 8};
    const std::int32_t same = static_cast<std::int32_t>(bits);
    return (flags{same, same, same, same} & bit_of_lane) == bit_of_lane;
}
inline void store_packed(f32* to, unsigned bits, reals lanes) {
    for (i64 t = 0; t < width; ++t) {
        *to = lanes[t];
        to += bits >> t & 1U;
    }
}
inline wide_reals widen(flags a, const f32* from) {
    const reals flagged = choose(a, load(from), all(0));
    return {wide_half{flagged[0], flagged[1]}, wide_half{flagged[2], flagged[3]}};
}
inline wide_reals load_wide(const f64* from) {
    wide_reals a;
    std::memcpy(&a, from, sizeof a);
    return a;
}
inline void store_wide(f64* to, const wide_reals& a) {
    std::memcpy(to, &a, sizeof a);
}
inline wide_reals operator+(const wide_reals& a, const wide_reals& b) {
    return {a.low + b.low, a.high + b.high};
}
inline void add_halves(f64* sums, const wide_reals& a) {
    wide_half sum;
    std::memcpy(&sum, sums, sizeof sum);
    sum += a.low + a.high;
    std::memcpy(sums, &sum, sizeof sum);
}
inline void add_rounded(f64* sums, f64 power, const wide_reals& a) {
    const wide_half from = {power, power};
    const wide_half low = (a.low + from) - from, high = (a.high + from) - from;
    wide_half sum;
    std::memcpy(&sum, sums, sizeof sum);
    sum += low + high;
    std::memcpy(sums, &sum, sizeof sum);
}
inline void store_pairs(f64* to, reals a, reals b) {
    for (i64 t = 0; t < width; ++t) {
        to[2 * t] = a[t];
        to[2 * t + 1] = b[t];
    }
}

#endif

// a / b, or 1 in flagged lanes, where a division by 0 would raise an exception flag. Of the two ways, clang
// divides by b in the flagged lanes of the first, and g++ in those of the second for AVX-512.
inline reals divided_or_one(flags one, reals a, reals b) {
#if defined(__AVX512F__) && !defined(__clang__)
    return _mm512_mask_div_ps(all(1.0F), static_cast<flags>(~one), a, b);
#else
    return choose(one, all(1.0F), a / choose(one, all(1.0F), b));
#endif
}

// Two f64, added to two sums once or twice.
#if defined(__AVX2__)
template <bool Twice> inline void add_two(f64* sums, const f64* terms) {
    const __m128d term = _mm_loadu_pd(terms);
    __m128d sum = _mm_loadu_pd(sums) + term;
    if constexpr (Twice) sum = sum + term;
    _mm_storeu_pd(sums, sum);
}
#else
template <bool Twice> inline void add_two(f64* sums, const f64* terms) {
    for (i64 t = 0; t < 2; ++t) {
        f64 sum = sums[t] + terms[t];
        if constexpr (Twice) sum += terms[t];
        sums[t] = sum;
    }
}
#endif

// The position of the lowest bit set (there is one), and the number of bits set.
#if defined(__GNUC__)
inline i64 lowest_bit(unsigned bits) {
    return __builtin_ctz(bits);
}
inline i64 number_of(unsigned bits) {
    return __builtin_popcount(bits);
}
#else
inline i64 lowest_bit(unsigned bits) {
    return std::countr_zero(bits);
}
inline i64 number_of(unsigned bits) {
    return std::popcount(bits);
}
#endif

// The lanes from `first` to `end` - 1; either may lie outside.
inline flags lanes_between(i64 first, i64 end) {
    alignas(64) constexpr f32 numbers[16] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15};
    const reals lane = load(numbers);
    return both(at_most(all(static_cast<f32>(first)), lane),
                below(lane, all(static_cast<f32>(end))));
}

} // namespace

} // namespace qmx::pair_kernel
