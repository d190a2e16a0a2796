// Reading long arrays of records in order.
#pragma once

#include <cstdint>

namespace qmx {

// Asks for the memory some records further on. Processors do so by themselves, but only up to the end
// of a page, and a record of 32 bytes lets them run dry there. What lies past the end of the array is
// not touched by this.
inline void read_ahead(const void* record) {
#if defined(__GNUC__)
    constexpr std::uintptr_t distance = 4096;
    __builtin_prefetch(
        reinterpret_cast<const void*>(reinterpret_cast<std::uintptr_t>(record) + distance));
#else
    static_cast<void>(record);
#endif
}

} // namespace qmx
