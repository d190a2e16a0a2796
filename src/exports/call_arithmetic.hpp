// The processor's arithmetic for the length of one call: rounding to nearest, subnormal numbers kept, all
// floating-point exceptions masked. A host that had set it otherwise has its own back at the end.
//
// Hosts change these for work of their own (interval arithmetic, fast mathematics, languages that trap
// on a division by zero). A number may not depend on that, and a NaN that a call handles may not end
// the host.
#pragma once

#include "base/base_types.hpp"

#if defined(__SSE2__) || defined(_M_X64) || (defined(_M_IX86_FP) && _M_IX86_FP >= 2)
#include <xmmintrin.h>
#define QMX_HAS_SSE_ARITHMETIC
#else
#include <cfenv>
#endif

namespace qmx {

#if defined(QMX_HAS_SSE_ARITHMETIC)
#undef QMX_HAS_SSE_ARITHMETIC

// Reads the two control registers and writes to them only where a host has changed something: <cfenv>
// would save and load all of the old registers in each call.
class call_arithmetic {
public:
    call_arithmetic() : host_(_mm_getcsr()) {
        constexpr unsigned standard = 0x1F80, raised = 0x3F;
        is_changed_ = (host_ & ~raised) != standard;
        if (is_changed_) _mm_setcsr(standard);
#if defined(__GNUC__)
        // The old registers (x87) serve 32-bit programs and some functions of the C library. Their
        // precision is left alone: it decides nothing here.
        constexpr std::uint16_t masks = 0x003F, rounding = 0x0C00;
        std::uint16_t control = 0;
        __asm__ volatile("fnstcw %0" : "=m"(control)::"memory");
        is_old_changed_ = (control & (masks | rounding)) != masks;
        if (!is_old_changed_) return;
        __asm__ volatile("fnstenv %0" : "=m"(old_)::"memory");
        control = static_cast<std::uint16_t>((control & ~rounding) | masks);
        __asm__ volatile("fldcw %0" : : "m"(control) : "memory");
#endif
    }
    ~call_arithmetic() {
#if defined(__GNUC__)
        __asm__ volatile("" ::: "memory"); // all results are stored before
        if (is_old_changed_) __asm__ volatile("fldenv %0" : : "m"(old_) : "memory");
#endif
        if (is_changed_) _mm_setcsr(host_);
    }
    call_arithmetic(const call_arithmetic&) = delete;
    call_arithmetic& operator=(const call_arithmetic&) = delete;

private:
    const unsigned host_;
    bool is_changed_ = false;
#if defined(__GNUC__)
    bool is_old_changed_ = false;
    unsigned char old_[28];
#endif
};

#else

class call_arithmetic {
public:
    call_arithmetic() {
        std::fegetenv(&host_);
        std::fesetenv(FE_DFL_ENV);
    }
    ~call_arithmetic() { std::fesetenv(&host_); }
    call_arithmetic(const call_arithmetic&) = delete;
    call_arithmetic& operator=(const call_arithmetic&) = delete;

private:
    std::fenv_t host_;
};

#endif

} // namespace qmx
