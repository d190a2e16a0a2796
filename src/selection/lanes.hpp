// Vector registers for loops over coordinates. A lane is one element of a register; each operation
// is the IEEE one in every lane, so that the result does not depend on the number of lanes.
#pragma once

#include "base/base_types.hpp"

#include <cstring>

namespace qmx::lanes {

#if defined(__GNUC__)

// What the registers of every common processor hold.
inline constexpr i32 width = 2;
using reals = f64 __attribute__((vector_size(width * sizeof(f64))));
using flags = i64 __attribute__((vector_size(width * sizeof(i64)))); // all ones or all zeros

inline constexpr flags all_set = {-1, -1};

inline bool any_of(flags a) {
    return (a[0] | a[1]) != 0;
}
inline bool all_of(flags a) {
    return (a[0] & a[1]) != 0;
}
inline f64 least_of(reals a) {
    return a[0] < a[1] ? a[0] : a[1];
}
inline f64 greatest_of(reals a) {
    return a[0] > a[1] ? a[0] : a[1];
}

#else

inline constexpr i32 width = 1;
using reals = f64;
using flags = bool;

inline constexpr flags all_set = true;

inline bool any_of(flags a) {
    return a;
}
inline bool all_of(flags a) {
    return a;
}
inline f64 least_of(reals a) {
    return a;
}
inline f64 greatest_of(reals a) {
    return a;
}

#endif

inline reals load(const f64* from) {
    reals a;
    std::memcpy(&a, from, sizeof a);
    return a;
}
// The lesser and the greater of two numbers; b where either is a NaN.
inline reals lesser(reals a, reals b) {
    return a < b ? a : b;
}
inline reals greater(reals a, reals b) {
    return a > b ? a : b;
}

} // namespace qmx::lanes
