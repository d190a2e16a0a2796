// Ordinary input raises none of invalid, divide-by-zero and overflow, which a host may look at afterwards;
// where a host flushes denormals no call becomes slow.
#include "support/export_calls.hpp"

#include <cfenv>
#include <chrono>

#if defined(__SSE2__)
#include <immintrin.h>
#endif

namespace {

constexpr int watched = FE_INVALID | FE_DIVBYZERO | FE_OVERFLOW;

TEST(FloatingPoint, OrdinaryLotsRaiseNoExceptions) {
    for (unsigned seed = 1; seed <= 60; ++seed) {
        support::ordinary_lot given(seed);
        for (const support::export_call& call : given.calls()) {
            std::feclearexcept(FE_ALL_EXCEPT);
            const int32_t status = call.run();
            const int raised = std::fetestexcept(watched);
            EXPECT_EQ(status, 1) << call.name << ", lot " << seed;
            EXPECT_EQ(raised, 0) << call.name << ", lot " << seed;
        }
    }
}

#if defined(__SSE2__)
// Three tries each, since a busy machine makes any one of them slow.
TEST(FloatingPoint, DenormalsAreZeroMakesNoCallSlow) {
    const auto seconds_of = [](const support::export_call& call) {
        double least = 1e9;
        for (int i = 0; i < 3; ++i) {
            const auto start = std::chrono::steady_clock::now();
            call.run();
            const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
            least = std::min(least, taken.count());
        }
        return least;
    };
    support::ordinary_lot given(5);
    for (const support::export_call& call : given.calls()) {
        const double ordinary = seconds_of(call);
        const unsigned before = _mm_getcsr();
        _mm_setcsr(before | 0x8040); // denormals are zero, flush to zero
        const double flushed = seconds_of(call);
        _mm_setcsr(before);
        EXPECT_LT(flushed, 5 * ordinary + 0.02) << call.name;
    }
}
#endif

} // namespace
