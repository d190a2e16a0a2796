// Means of groups in one sweep: those of exact arithmetic, and to the last bit those of the statistics
// of each group on its own.
#include "support/exact_statistics.hpp"
#include "support/test.hpp"
#include "toolkit/group_means.hpp"
#include "toolkit/statistics_wrappers.hpp"

using namespace qmx;

namespace {

struct value_case {
    const char* name;
    f32 usual_magnitude; // as the caller expects it
    std::function<f32(std::mt19937&)> value;
};

f32 even(std::mt19937& random, f32 low, f32 high) {
    return std::uniform_real_distribution<f32>(low, high)(random);
}

f32 any_bits(std::mt19937& random) {
    const f32 value = std::bit_cast<f32>(static_cast<std::uint32_t>(random()));
    return std::isfinite(value) ? value : 1.0F;
}

const value_case value_cases[] = {
    {"as expected", 100.0F, [](auto& r) { return even(r, 20, 90); }},
    {"around zero", 1.0F, [](auto& r) { return even(r, -1, 1); }},
    {"zeros of both signs", 1.0F, [](auto& r) { return r() % 2 == 0 ? 0.0F : -0.0F; }},
    {"constant", 0.1F, [](auto&) { return 0.1F; }},
    {"whole numbers, nothing expected", 0.0F, [](auto& r) { return static_cast<f32>(r() % 9); }},
    {"on both sides of the quick range", 2.0F, [](auto& r) { return 8 + even(r, -1e-3F, 1e-3F); }},
    {"on both sides of the finest unit", 1.0F,
     [](auto& r) { return std::ldexp(even(r, 1, 2), -static_cast<int>(r() % 40)); }},
    {"larger than expected", 1e-3F, [](auto& r) { return even(r, -3e38F, 3e38F); }},
    {"smaller than expected", 3e38F, [](auto& r) { return even(r, 0, 1e-40F); }},
    {"all there is", 1.0F, any_bits},
    {"NaN between", 50.0F, [](auto& r) { return r() % 3 == 0 ? nan32 : even(r, 0, 50); }},
    {"nothing but NaN", 0.0F, [](auto&) { return nan32; }},
    {"infinite values, few of both signs", 5.0F,
     [](auto& r) { return r() % 200 == 0   ? inf32
                          : r() % 300 == 0 ? -inf32
                                           : 5.0F; }},
    {"below infinity", 5.0F, [](auto& r) { return r() % 99 == 0 ? -inf32 : even(r, 0, 5); }}};

TEST(GroupMeans, AreThoseOfEachGroupOnItsOwn) {
    constexpr std::size_t groups = 7;
    for (const auto& given : value_cases) {
        SCOPED_TRACE(given.name);
        std::mt19937 random(21);
        std::vector<std::vector<f32>> of_group(groups + 1);
        std::vector<grouped_value> all;
        for (int i = 0; i < 5000; ++i) {
            const std::size_t group = std::min<std::size_t>(random() % 9, groups); // the last: none
            all.push_back({group, given.value(random)});
            of_group[group].push_back(all.back().value);
        }
        all.push_back({std::numeric_limits<numeric::u64>::max(), 1.0F}); // passed over

        group_sums sums(groups, std::ssize(all), given.usual_magnitude);
        ASSERT_TRUE(sums);
        i64 left_out = 0;
        const auto at = [&](i64 i) { return all[static_cast<std::size_t>(i)]; };
        sums.add_each(std::ssize(all), at, [&](i64 i) {
            EXPECT_GE(at(i).group, groups);
            ++left_out;
        });
        EXPECT_EQ(left_out, std::ssize(of_group[groups]) + 1);
        for (std::size_t group = 0; group < groups; ++group) {
            const auto& values = of_group[group];
            f32 expected[15];
            imsl_uvsta(view_of<const f32>(values.data(), std::ssize(values)),
                       view_of(expected, 15));
            const f32 mean = sums.mean(static_cast<i64>(group));
            EXPECT_EQ(sums.values(static_cast<i64>(group)), std::ssize(values));
            EXPECT_EQ(std::bit_cast<numeric::u32>(mean), std::bit_cast<numeric::u32>(expected[0]))
                << mean << " for " << expected[0];
            if (std::isnan(mean) || std::isinf(mean)) continue;
            support::wide sum = 0, numbers = 0;
            for (const f32 value : values) {
                if (std::isnan(value)) continue;
                sum += value;
                numbers += 1;
            }
            EXPECT_EQ(mean, numbers == 0 ? 0.0F : static_cast<f32>(support::wide(sum / numbers)));
        }
    }
}

TEST(GroupMeans, HoldAsManyValuesAsAnnounced) {
    // With the units at their finest the sum of the largest quick values stays within 63 bits.
    constexpr i64 many = (i64{1} << 20) - 1;
    group_sums sums(2, many, 1.0F);
    sums.add_each(
        many,
        [](i64) {
            return grouped_value{1, 3.9999998F};
        },
        [](i64) { FAIL(); });
    EXPECT_EQ(sums.mean(1), 3.9999998F);
    EXPECT_EQ(sums.values(0), 0);
    EXPECT_EQ(sums.mean(0), 0.0F);
}

} // namespace
