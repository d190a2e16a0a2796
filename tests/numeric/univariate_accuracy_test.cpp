#include "numeric/univariate_samples.hpp"
#include "support/register_widths.hpp"

using namespace univariate;

namespace {

TEST(Univariate, NoRowDependsOnTheOrderOfTheValues) {
    std::mt19937 random(5);
    for (auto& [name, x] : unkind_data()) {
        const outcome first = statistics(x);
        EXPECT_EQ(first.type, 0) << name;
        EXPECT_EQ(first.row(15), untouched) << name << ": no weights";
        std::sort(x.begin(), x.end(), [](f32 a, f32 b) { return a < b || (b != b && a == a); });
        EXPECT_TRUE(same_bits(statistics(x).stat, first.stat)) << name << ", sorted";
        for (int times = 0; times < 3; ++times) {
            std::shuffle(x.begin(), x.end(), random);
            EXPECT_TRUE(same_bits(statistics(x).stat, first.stat)) << name << ", shuffled";
        }
        support::with_each_register_width([&, &of = x, &called = name] {
            EXPECT_TRUE(same_bits(statistics(of).stat, first.stat)) << called;
        });
    }
}

// Quantiles are remembered by their degrees of freedom: neither other numbers of observations nor other
// levels in between may show.
TEST(Univariate, LimitsDoNotDependOnWhatWasAskedBefore) {
    const auto of = [](std::size_t n, f32 mean_level, f32 variance_level) {
        return statistics(made(n, [](auto, auto& r) { return normal(r, 8.0F, 2.0F); }), mean_level,
                          variance_level);
    };
    constexpr std::size_t most = 150; // more than are remembered at a time
    std::vector<outcome> first;
    for (std::size_t n = 2; n < most; ++n) first.push_back(of(n, 95, 95));
    for (const std::size_t n : {2U, 3U, 65U, 66U, 67U, 149U}) {
        EXPECT_TRUE(same_bits(of(n, 95, 95).stat, first[n - 2].stat)) << n;
        const outcome other = of(n, 90, 99);
        EXPECT_TRUE(same_bits(of(n, 90, 99).stat, other.stat)) << n;
        EXPECT_GT(other.row(11), first[n - 2].row(11)) << n;
        EXPECT_LT(other.row(13), first[n - 2].row(13)) << n;
        EXPECT_TRUE(same_bits(of(n, 95, 95).stat, first[n - 2].stat)) << n;
    }
}

// Whole multiples k of a step above a base: the sums of k to k^4 are exact integers.
#if defined(__SIZEOF_INT128__)
TEST(Univariate, StaysAccurateForMillionsOfRows) {
    constexpr std::uint32_t K = 1U << 18;
    const auto any_up_to = [](std::uint32_t most) {
        return [most](std::size_t, std::mt19937& random) {
            return static_cast<std::uint32_t>(random()) % (most + 1);
        };
    };
    struct {
        const char* name;
        std::size_t n;
        f32 base, step;
        std::function<std::uint32_t(std::size_t, std::mt19937&)> k;
    } const rows[] = {
        {"a million and noise", 1000000, 1e6F, 0.0625F, any_up_to(15)},
        {"ten million of them", 10000000, 1e6F, 0.0625F, any_up_to(3)},
        {"negative and positive", 10000000, -2048.0F, 0.001953125F, any_up_to(1U << 21)},
        {"large", 1000000, 0.0F, 1.0F, any_up_to(16777215)},
        // Two outliers set the scale, the others' cubes are far below it, many, and of one sign.
        {"cubes below the scale", 10000000, -1.0F, 0x1p-18F,
         [](std::size_t i, auto&) {
             return i < 2 ? static_cast<std::uint32_t>(i) * 2 * K : i % 3 == 0 ? K + 2 : K - 1;
         }},
        // The mean misses its leading bits by little, the deviation is less than a billionth of it.
        {"last places of one", 10000000, 1.0F - 0x1p-23F, 0x1p-23F, [](std::size_t i, auto&) {
             return i < 108 ? 2U : i < 215 ? 0U : 1U;
         }}};
    for (const auto& given : rows) {
        std::mt19937 random(11);
        std::vector<f32> x(given.n);
        __extension__ unsigned __int128 power[5] = {};
        std::uint32_t least = ~0U, greatest = 0;
        for (std::size_t i = 0; i < given.n; ++i) {
            const std::uint32_t k = given.k(i, random);
            x[i] = given.base + static_cast<f32>(k) * given.step;
            __extension__ unsigned __int128 term = 1;
            for (auto& sum : power) {
                sum += term;
                term *= k;
            }
            least = std::min(least, k);
            greatest = std::max(greatest, k);
        }
        wide s[5];
        for (int i = 0; i < 5; ++i) s[i] = wide(boost::multiprecision::uint128_t(power[i]));
        const wide n = s[0], m = s[1] / n, u = given.step;
        const wide second = s[2] - n * m * m;
        const wide third = s[3] - 3 * m * s[2] + 2 * n * m * m * m;
        const wide fourth = s[4] - 4 * m * s[3] + 6 * m * m * s[2] - 3 * n * m * m * m * m;
        const auto exact = support::statistics_of(
            n, given.base + u * m, u * u * second, u * u * u * third, u * u * u * u * fourth,
            given.base + static_cast<f32>(least) * given.step,
            given.base + static_cast<f32>(greatest) * given.step);
        expect_accurate(statistics(x).stat, exact, given.name);
    }
}
#endif

TEST(Univariate, ConfidenceLevelsAreTakenAsGiven) {
    const std::vector<f32> x = {4.5F, 3.25F, 8.0F, 6.125F, 5.0F};
    for (const f32 level : {1.0F, 50.0F, 90.0F, 99.0F, 99.9F}) {
        const auto exact = support::statistics_of(x, level);
        expect_accurate(statistics(x, level, level).stat, exact, std::to_string(level));
    }
    const outcome without = statistics(x, 0.0F, -1.0F);
    for (int row = 11; row <= 14; ++row) EXPECT_EQ(without.row(row), 0.0F);
}

} // namespace
