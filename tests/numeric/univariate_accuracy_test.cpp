#include "numeric/univariate_call.hpp"

#include <algorithm>
#include <cstdlib>
#include <fstream>

using namespace univariate;

namespace {

std::vector<std::pair<std::string, std::vector<f32>>> unkind_data() {
    return {
        {"two values", {1.0F, 2.0F}},
        {"two neighbours", {1.0F, std::nextafter(1.0F, 2.0F)}},
        {"two of opposite sign", {-3.25F, 7.5F}},
        {"three far apart", {1e-20F, 1.0F, 1e18F}},
        {"a sum that cancels", {1e18F, 3.0F, -1e18F, 1.5F, 1e10F, -1e10F}},
        {"a sum that cancels below the last place of its terms",
         {1e18F, 1e-12F, -1e18F, 3e-13F, 5.0F, -5.0F}},
        {"values beside a half-way mean", {16777215.0F, 16777216.0F, 16777214.0F, 1e-30F}},
        {"a hair above a half-way mean", {2.0F, 2.0F, 0x1p-22F, 0x1p-90F}},
        {"all but one equal", made(100000, [](auto i, auto&) { return i == 77 ? 2.0F : 1.0F; })},
        {"last place of a million in one of many",
         made(100000, [](auto i, auto&) { return i == 77 ? 1000000.0625F : 1000000.0F; })},
        {"two opposite outliers among small values",
         made(100001, [](auto i, auto&) { return i == 0   ? 1.0F
                                                 : i == 1 ? -1.0F
                                                          : 1.1e-5F; })},
        {"measured values", made(5000, [](auto, auto& r) { return normal(r, 45.0F, 12.0F); })},
        {"around zero", made(20001, [](auto, auto& r) { return normal(r, 0.0F, 1.0F); })},
        {"a million and noise",
         made(50000, [](auto, auto& r) { return 1e6F + normal(r, 0.0F, 0.2F); })},
        {"a negative ten million and noise",
         made(3000, [](auto, auto& r) { return -1e7F + normal(r, 0.0F, 3.0F); })},
        {"lopsided", made(20000, [](auto, auto& r) { return std::exp(normal(r, 0.0F, 2.0F)); })},
        {"all magnitudes", made(20000,
                                [](auto i, auto& r) {
                                    const f32 sign = i % 2 == 0 ? 1.0F : -1.0F;
                                    return sign * std::pow(10.0F, normal(r, -10.0F, 8.0F));
                                })},
        {"a block and a rest", made(2049, [](auto i, auto&) { return static_cast<f32>(i); })},
        {"missing values between",
         made(4100, [](auto i, auto& r) { return i % 3 == 1 ? nan32 : normal(r, 8.0F, 2.0F); })},
    };
}

TEST(Univariate, EveryRowIsWithinTwoUnitsInTheLastPlace) {
    for (const auto& [name, x] : unkind_data()) {
        const outcome got = statistics(x);
        EXPECT_EQ(got.type, 0) << name;
        expect_accurate(got.stat, support::statistics_of(x), name);
        EXPECT_EQ(got.row(15), untouched) << name << ": no weights";
    }
}

TEST(Univariate, NoRowDependsOnTheOrderOfTheValues) {
    std::mt19937 random(5);
    for (auto& [name, x] : unkind_data()) {
        const outcome first = statistics(x);
        std::sort(x.begin(), x.end(), [](f32 a, f32 b) { return a < b || (b != b && a == a); });
        EXPECT_TRUE(same_bits(statistics(x).stat, first.stat)) << name << ", sorted";
        for (int times = 0; times < 3; ++times) {
            std::shuffle(x.begin(), x.end(), random);
            EXPECT_TRUE(same_bits(statistics(x).stat, first.stat)) << name << ", shuffled";
        }
    }
}

// Whole multiples k of a step above a base: the sums of k to k^4 are exact integers.
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
        {"last places of one", 10000000, 1.0F - 0x1p-23F, 0x1p-23F,
         [](std::size_t i, auto&) { return i < 108   ? 2U
                                           : i < 215 ? 0U
                                                     : 1U; }},
    };
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

TEST(Univariate, ConfidenceLevelsAreTakenAsGiven) {
    const std::vector<f32> x = {4.5F, 3.25F, 8.0F, 6.125F, 5.0F};
    for (const f32 level : {1.0F, 50.0F, 90.0F, 99.0F, 99.9F}) {
        const auto exact = support::statistics_of(x, level);
        expect_accurate(statistics(x, level, level).stat, exact, std::to_string(level));
    }
    const outcome without = statistics(x, 0.0F, -1.0F);
    for (int row = 11; row <= 14; ++row) EXPECT_EQ(without.row(row), 0.0F);
}

// ---- Certified sets -----------------------------------------------------------------------------

TEST(Univariate, AgreesWithCertifiedSets) {
    const char* folder = std::getenv("QMX_IC_DATA");
    if (folder == nullptr) GTEST_SKIP() << "QMX_IC_DATA names no folder";
    for (const std::string name : {"Lew", "Lottery", "NumAcc1"}) {
        std::ifstream file(std::string(folder) + "/certified/" + name + ".dat");
        ASSERT_TRUE(file) << name;
        const auto number_after_colon = [](const std::string& line) {
            return std::stod(line.substr(line.rfind(':') + 1));
        };
        f64 mean = 0, deviation = 0;
        std::vector<f32> x;
        bool in_data = false;
        for (std::string line; std::getline(file, line);) {
            if (line.starts_with("Sample Mean")) mean = number_after_colon(line);
            if (line.starts_with("Sample Standard")) deviation = number_after_colon(line);
            if (in_data && line.find_first_of("0123456789") != std::string::npos)
                x.push_back(std::stof(line));
            if (line.starts_with("-----")) in_data = true;
        }
        ASSERT_GT(x.size(), 2U) << name;
        const outcome got = statistics(x);
        EXPECT_LE(support::ulps_between(got.row(1), wide(mean)), 0.5) << name;
        EXPECT_LE(support::ulps_between(got.row(3), wide(deviation)), 1.0) << name;
    }
}

} // namespace
