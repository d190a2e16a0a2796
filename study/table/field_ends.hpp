// Where fields and lines of a text may end: 64 characters looked at together.
#pragma once

#include <cstddef>
#include <cstdint>

#if defined(__SSE2__) || defined(_M_X64)
#include <emmintrin.h>
#endif

namespace qmx_study {

inline constexpr std::size_t looked_at_together = 64;

// Bit i is set where text[i] is the separator, a quotation mark, a line feed or a carriage return.
inline std::uint64_t field_ends(const char* text, char separator) {
#if defined(__SSE2__) || defined(_M_X64)
    const __m128i separators = _mm_set1_epi8(separator), quotes = _mm_set1_epi8('"');
    const __m128i feeds = _mm_set1_epi8('\n'), returns = _mm_set1_epi8('\r');
    std::uint64_t ends = 0;
    for (unsigned lane = 0; lane < looked_at_together; lane += 16) {
        const __m128i some = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text + lane));
        const __m128i found = _mm_or_si128(
            _mm_or_si128(_mm_cmpeq_epi8(some, separators), _mm_cmpeq_epi8(some, quotes)),
            _mm_or_si128(_mm_cmpeq_epi8(some, feeds), _mm_cmpeq_epi8(some, returns)));
        ends |= static_cast<std::uint64_t>(static_cast<unsigned>(_mm_movemask_epi8(found))) << lane;
    }
    return ends;
#else
    std::uint64_t ends = 0;
    for (unsigned i = 0; i < looked_at_together; ++i) {
        const char c = text[i];
        const bool is_end = c == separator || c == '"' || c == '\n' || c == '\r';
        ends |= static_cast<std::uint64_t>(is_end) << i;
    }
    return ends;
#endif
}

} // namespace qmx_study
