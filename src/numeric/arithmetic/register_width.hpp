// Loops compiled several times, for vector registers of several widths; the processor settles which
// version runs. The versions differ only in how many numbers they work on at once: each number sees the
// same operations, none of them fused, so that all results are the same bit for bit.
//
//     struct some_loop {
//         QMX_INLINED static void run(const f32* x, i64 n, ...) { for ... }
//     };
//     run_loop<some_loop>(x, n, ...);
//
// A loop must stand in an unnamed namespace, since the compiled versions are named after it. What it
// calls must be inlined: a function that stays a call is compiled for every processor.
//
// Where coverage is counted there is one version: each copy would count as branches of its own, and a
// processor reaches those that it has instructions for.
#pragma once

#include "base/base_types.hpp"

#include <algorithm>

#if defined(__GNUC__)
#define QMX_INLINED [[gnu::always_inline]] inline
#else
#define QMX_INLINED inline
#endif

namespace qmx::numeric {

enum class register_width { narrow, wide, widest };

// Tests lower this to run the versions that the processor would not choose.
inline register_width permitted_registers = register_width::widest;

template <class Loop, class... Arguments> void run_narrow(Arguments&... arguments) {
    Loop::run(arguments...);
}

#if defined(__GNUC__) && defined(__x86_64__) && !defined(QMX_IC_COVERAGE)
#define QMX_SEVERAL_WIDTHS

#if defined(__clang__)
#define QMX_WIDEST_TARGET "avx512f,avx512bw,avx512dq,avx512vl"
#else
#define QMX_WIDEST_TARGET "avx512f,avx512bw,avx512dq,avx512vl,prefer-vector-width=512"
#endif

inline register_width available_registers() {
    if (__builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
        __builtin_cpu_supports("avx512dq") && __builtin_cpu_supports("avx512vl"))
        return register_width::widest;
    return __builtin_cpu_supports("avx2") ? register_width::wide : register_width::narrow;
}

template <class Loop, class... Arguments>
[[gnu::target("avx2")]] void run_wide(Arguments&... arguments) {
    Loop::run(arguments...);
}
template <class Loop, class... Arguments>
[[gnu::target(QMX_WIDEST_TARGET)]] void run_widest(Arguments&... arguments) {
    Loop::run(arguments...);
}
#undef QMX_WIDEST_TARGET

#elif defined(QMX_IC_COVERAGE)

inline register_width available_registers() {
    return register_width::widest; // what is done for wide registers alone is counted too
}

#else

inline register_width available_registers() {
    return register_width::narrow;
}

#endif

inline register_width registers_in_use() {
    return std::min(available_registers(), permitted_registers);
}

template <class Loop, class... Arguments> void run_loop(Arguments&&... arguments) {
    switch (registers_in_use()) {
#if defined(QMX_SEVERAL_WIDTHS)
    case register_width::widest: return run_widest<Loop>(arguments...);
    case register_width::wide: return run_wide<Loop>(arguments...);
#endif
    default: return run_narrow<Loop>(arguments...);
    }
}

#undef QMX_SEVERAL_WIDTHS

} // namespace qmx::numeric
