// A host may have set the processor's arithmetic otherwise: rounding mode, subnormal numbers flushed to
// zero, exceptions that trap. No result depends on it, and the host finds it as it was.
#include "support/hashed_calls.hpp"
#include "support/test.hpp"

#include <cfenv>
#if defined(__unix__)
#include <thread>
#endif

#if defined(__SSE2__)
#include <immintrin.h>
#endif

namespace {

// No exact product or sum of the lots is rounded, so they are the same in every mode; what a compiler
// computes in advance would not be.
constexpr int some_calls = 6;

std::vector<std::uint64_t> truth(std::uint64_t seed) {
    return support::hashes_of_all_exports(seed, some_calls);
}

TEST(HostArithmetic, RoundingModeDecidesNothingAndStays) {
    const auto expected = truth(1);
    for (const int mode : {FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO, FE_TONEAREST}) {
        ASSERT_EQ(std::fesetround(mode), 0);
        const auto hashes = truth(1);
        const int after = std::fegetround();
        std::fesetround(FE_TONEAREST);
        EXPECT_EQ(after, mode);
        EXPECT_EQ(hashes, expected) << "rounding mode " << mode;
    }
}

#if defined(__unix__)
// Quantiles are kept from call to call: none that was found in another mode may come back later.
TEST(HostArithmetic, NothingOfAnotherModeIsKept) {
    std::vector<std::uint64_t> expected, later;
    std::thread([&] { expected = truth(2); }).join();
    std::thread([&] {
        std::fesetround(FE_UPWARD);
        truth(2);
        std::fesetround(FE_TONEAREST);
        later = truth(2);
    }).join();
    EXPECT_EQ(later, expected);
}
#endif

#if defined(__SSE2__)
constexpr unsigned flushed = 0x8040; // subnormal results and operands are zero

// Runs it as such a host; the flags that were raised are left out of the comparison.
void with_control(unsigned control, const std::function<void()>& run) {
    const unsigned before = _mm_getcsr();
    _mm_setcsr(control);
    run();
    const unsigned after = _mm_getcsr();
    _mm_setcsr(before);
    EXPECT_EQ(after & ~0x3FU, control & ~0x3FU) << "the host's own stays";
}

TEST(HostArithmetic, FlushingToZeroDecidesNothingAndStays) {
    const auto expected = truth(3);
    for (const unsigned control : {0x1F80U | 0x8000U, 0x1F80U | 0x40U, 0x1F80U | flushed}) {
        std::vector<std::uint64_t> hashes;
        with_control(control, [&] { hashes = truth(3); });
        EXPECT_EQ(hashes, expected) << control;
    }
}

// Coordinates and values below the least normal number, which a flushing host's arithmetic takes for 0.
TEST(HostArithmetic, SubnormalNumbersCountInAFlushingHostToo) {
    constexpr double step = 0x1p-1060;
    const std::vector<double> x = {0, step, 2 * step, 3 * step, -step}, y(5, 0.0);
    const double corner_x[] = {-step / 2, 2.5 * step, 2.5 * step, -step / 2};
    const double corner_y[] = {step, step, -step, -step};
    std::vector<t_icdata> lot;
    for (int i = 0; i < 40; ++i) lot.push_back({0, 0, i * 0x1p-140, 1, 0});
    t_event event = blank_event();
    t_statsout statistics = {};
    std::int32_t found = 0;
    std::vector<std::int32_t> indices(5);
    const auto call = [&] {
        EXPECT_EQ(find_points_in_polygon(4, 5, corner_x, corner_y, x.data(), y.data(), &found,
                                         indices.data(), &event),
                  1);
        EXPECT_EQ(ICdata_stats(2, 2, 40, lot.data(), &statistics, &event), 1);
    };
    const auto bits = [](float value) { return std::bit_cast<std::uint32_t>(value); };
    call();
    const std::vector<std::int32_t> expected = indices;
    const t_statsout plain = statistics;
    EXPECT_EQ(found, 3);
    EXPECT_EQ(bits(plain.x_stat[6]), bits(static_cast<float>(39 * 0x1p-140)));
    with_control(0x1F80 | flushed, call);
    EXPECT_EQ(found, 3);
    EXPECT_EQ(indices, expected);
    EXPECT_EQ(std::memcmp(&statistics, &plain, sizeof plain), 0);
}
#endif

#if defined(__GLIBC__)
// What raises every exception inside: NaN, infinities, numbers whose squares overflow, no area at all.
std::vector<double> hostile_calls() {
    std::vector<t_icdata> lot;
    for (int i = 0; i < 300; ++i) {
        const double odd[] = {nan64, inf64, -inf64, 1e300, 1e-310, 3e38};
        lot.push_back({i % 7 == 0 ? odd[i % 6] : i, i % 11 == 0 ? odd[i % 6] : i / 2,
                       i % 5 == 0 ? odd[i % 6] : i, 1 + i % 2, 0});
    }
    t_event event = blank_event();
    t_statsout statistics = {};
    t_fitout fit = {};
    const t_gamvset_user set = {5, 2, 0, 30, 100, 1};
    const float mesh[] = {1, 1};
    const t_passbin bin = {1, -1};
    t_binresult result = {};
    std::vector<double> x(300), y(300), means(2), curve_x(100), curve_y(100), distance(7), gamma(7),
        model(2);
    for (std::size_t i = 0; i < 300; ++i) x[i] = lot[i].d_x, y[i] = lot[i].d_y;
    std::vector<float> summary(4), s_x(100), s_y(100), line(3);
    std::vector<std::int32_t> indices(300), list(300);
    std::int32_t found = 0;
    std::vector<t_statsout> at_tests(4);
    std::vector<double> all, predicted(4);
    const auto add = [&](double value) { all.push_back(value == value ? value : 0.5); };
    add(ICdata_stats(2, 2, 300, lot.data(), &statistics, &event));
    add(ICdata_stats(1, 2, 300, lot.data(), &statistics, &event));
    for (const float each : statistics.x_stat) add(each);
    add(IC_compact_curve_b(2, 0, 300, lot.data(), &found, means.data(), curve_x.data(),
                           curve_y.data(), &fit, &event));
    add(IC_semivariogram(300, lot.data(), &set, distance.data(), gamma.data(), model.data(),
                         curve_x.data(), curve_y.data(), summary.data(), &event));
    for (const double each : gamma) add(each);
    add(find_points_in_circle(300, 1e200, x.data() + 5, x.data(), y.data(), &found, indices.data(),
                              &event));
    add(found);
    add(find_points_in_polygon(299, 300, x.data(), y.data(), x.data(), y.data(), &found,
                               indices.data(), &event));
    add(found);
    add(IC_PointsData_stats(300, 4, 50, lot.data(), lot.data() + 20, at_tests.data(), line.data(),
                            &found, list.data(), predicted.data(), &event));
    for (const float each : line) add(each);
    add(IC_coverage(mesh, 300, 1, 0, &bin, lot.data(), nullptr, &result, &event));
    add(result.x_coverage);
    for (std::size_t i = 0; i < 100; ++i)
        s_x[i] = std::ldexp(1.0F, static_cast<int>(i)), s_y[i] = i == 50 ? 3e38F : 1e-45F;
    std::vector<float> s_curve_x(100), s_curve_y(100);
    add(call_polycurvefit(100, 9, s_x.data(), s_y.data(), s_curve_x.data(), s_curve_y.data()));
    add(s_curve_y[99]);
    return all;
}

TEST(HostArithmetic, ExceptionsThatTrapAreNotRaised) {
    constexpr int all = FE_ALL_EXCEPT;
    const auto expected = hostile_calls();
    ASSERT_EQ(expected[0], 1);
    std::feclearexcept(all);
    hostile_calls();
    EXPECT_NE(std::fetestexcept(FE_INVALID), 0) << "else the lots are not hostile";
    const auto hashes = truth(4);
    std::feclearexcept(all);
    feenableexcept(all); // nothing here but the library raises one: the lots are exact
    const auto results = hostile_calls();
    const auto trapping_hashes = truth(4);
    const int enabled = fegetexcept();
    fedisableexcept(all);
    EXPECT_EQ(enabled, all) << "the host's own stays";
    EXPECT_EQ(results, expected);
    EXPECT_EQ(trapping_hashes, hashes);
}
#endif

} // namespace
