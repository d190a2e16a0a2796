// Prefetches; affects speed only. The processor prefetches by itself, but only up to the end of a
// page.
#pragma once

#include "base/base_types.hpp"

#include <cstdint>

namespace qmx {

// Not an access: an address past the end of an array is harmless.
inline void prefetch(const void* place) {
#if defined(__GNUC__)
    __builtin_prefetch(place);
#else
    static_cast<void>(place);
#endif
}

// Prefetches what lies `bytes` after `place`, for loops that read records in order.
inline void prefetch_ahead(const void* place, std::uintptr_t bytes) {
    // NOLINTNEXTLINE(performance-no-int-to-ptr): a pointer may not be moved past the end, a number may
    prefetch(reinterpret_cast<const void*>(reinterpret_cast<std::uintptr_t>(place) + bytes));
}

// `count` consecutive elements.
template <class T> void prefetch_range(const T* first, i64 count) {
    constexpr i64 line = 64 / sizeof(T); // elements of a cache line
    for (i64 i = 0; i < count; i += line) prefetch(first + i);
}

} // namespace qmx
