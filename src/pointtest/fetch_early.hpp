// Has memory brought closer before it is asked for. Nothing depends on it but time: processors look
// ahead by themselves, but not beyond the page at hand.
#pragma once

#include "frame/base_types.hpp"

namespace qmx {

inline void fetch_early(const void* place) {
#if defined(__GNUC__)
    __builtin_prefetch(place);
#else
    static_cast<void>(place);
#endif
}

// The same for count elements that lie in a row.
template <class T> void fetch_early(const T* first, i64 count) {
    constexpr i64 line = 64 / sizeof(T); // as long as cache lines are on most processors
    for (i64 i = 0; i < count; i += line) fetch_early(first + i);
}

} // namespace qmx
