// Compares the f32 exponential, sine and cosine on every f32 number with the C library's f64 functions
// and, where these come near the middle of two f32 numbers, with its 80-bit ones.
//
//     cmake --build --preset release --target every_f32 && build/release/bench/every_f32
//
// Takes about ten minutes. Prints the numbers compared, those that differ, and those that even 80 bits
// do not settle; ends with 1 if there are any.
#include "base/elementary_functions.hpp"

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <limits>

namespace {

using qmx::f32;
using qmx::f64;

struct function {
    const char* name;
    f32 (*ours)(f32);
    f64 (*near)(f64);
    long double (*nearer)(long double);
};

const function functions[] = {
    {"exponential", qmx::exponential, std::exp, std::exp},
    {"sine", qmx::sine, std::sin, std::sin},
    {"cosine", qmx::cosine, std::cos, std::cos},
};

// Whether the numbers within an error of the value round to one f32.
template <class Real> bool is_settled(Real value, Real error, f32& rounded) {
    rounded = static_cast<f32>(value);
    return static_cast<f32>(value - error) == rounded && static_cast<f32>(value + error) == rounded;
}

bool is_same(f32 a, f32 b) {
    return std::bit_cast<std::uint32_t>(a) == std::bit_cast<std::uint32_t>(b) || (a != a && b != b);
}

} // namespace

int main() {
    std::int64_t faults = 0;
    for (const function& f : functions) {
        std::int64_t differing = 0, unsettled = 0;
        for (std::uint64_t bits = 0; bits >> 32 == 0; ++bits) {
            const f32 x = std::bit_cast<f32>(static_cast<std::uint32_t>(bits));
            f32 wanted = 0;
            const f64 near = f.near(x);
            if (std::isfinite(near) && !is_settled(near, std::fabs(near) * 0x1p-51, wanted)) {
                const long double nearer = f.nearer(x);
                if (!is_settled(nearer, std::fabs(nearer) * 0x1p-62L, wanted)) ++unsettled;
            } else {
                wanted = static_cast<f32>(near);
            }
            if (!is_same(f.ours(x), wanted) && ++differing <= 5)
                std::printf("%s(%a) is %a, not %a\n", f.name, static_cast<f64>(x),
                            static_cast<f64>(f.ours(x)), static_cast<f64>(wanted));
        }
        std::printf("%-12s 4294967296 arguments, %lld differ, %lld not settled\n", f.name,
                    static_cast<long long>(differing), static_cast<long long>(unsettled));
        std::fflush(stdout);
        faults += differing + unsettled;
    }
    return faults == 0 ? 0 : 1;
}
