#include "numeric/statistics/frequency.hpp"
#include "support/expect_error.hpp"
#include "support/register_widths.hpp"

using namespace qmx;
using namespace qmx::numeric;

namespace {

constexpr f32 untouched = -777.0F;

struct request {
    i32 option, k;
    f32 low = 0, high = 0, half_width = 0;
    std::vector<f32> div = {};
};

std::vector<f32> tally(const std::vector<f32>& x, const request& asked,
                       std::vector<f32>* div = nullptr) {
    std::vector<f32> table(static_cast<std::size_t>(std::max(asked.k, 1)), untouched);
    std::vector<f32> limits = asked.div;
    if (limits.empty()) limits.assign(table.size(), untouched);
    ERSET(0, 0, 0);
    OWFRQ(static_cast<i32>(x.size()), x.data(), asked.k, asked.option, asked.low, asked.high,
          asked.half_width, limits.data(), table.data());
    if (div != nullptr) *div = limits;
    return table;
}

// The rules as stated, every class tried in turn; 0 for an observation that is not counted.
i32 class_by_the_rule(f32 x, const request& asked, f32 smallest, f32 largest) {
    const i32 k = asked.k;
    const auto real = [](i32 i) { return static_cast<f32>(i); };
    const auto div = [&](i32 i) { return asked.div[static_cast<std::size_t>(i - 1)]; };
    switch (asked.option) {
    case 0: {
        const f32 w = (largest - smallest) / real(k);
        const f32 t = 10.0F * std::numeric_limits<f32>::epsilon() * w;
        const f32 d = x - smallest;
        if (k - 1 < 1 || d - w <= t) return 1;
        for (i32 i = 2; i <= k - 1; ++i)
            if (d > real(i - 1) * w && d - real(i) * w <= t) return i;
        return k;
    }
    case 1: {
        const f32 w = (asked.high - asked.low) / real(k - 2);
        if (x <= asked.low) return 1;
        if (x > asked.high) return k;
        for (i32 j = 1; j <= k - 2; ++j)
            if (real(j - 1) * w < x - asked.low && x - asked.low <= real(j) * w) return j + 1;
        return k - 1;
    }
    case 2: {
        if (x <= div(1)) return 1;
        if (x > div(k - 1)) return k;
        for (i32 j = 1; j <= k - 2; ++j)
            if (div(j) < x && x <= div(j + 1)) return j + 1;
        return 0;
    }
    default: {
        for (i32 i = 1; i <= k; ++i)
            if (std::abs(x - div(i)) <= asked.half_width) return i;
        return 0;
    }
    }
}

std::vector<f32> tally_by_the_rule(const std::vector<f32>& x, const request& asked) {
    const auto [smallest, largest] = std::minmax_element(x.begin(), x.end());
    std::vector<f32> table(static_cast<std::size_t>(asked.k));
    for (const f32 value : x) {
        const i32 found = class_by_the_rule(value, asked, *smallest, *largest);
        if (found > 0) ++table[static_cast<std::size_t>(found - 1)];
    }
    return table;
}

// Each limit, its neighbours on both sides, and values between, in a random order and number.
std::vector<f32> values_on(const std::vector<f32>& limits, std::size_t more, std::mt19937& random) {
    std::vector<f32> x;
    for (const f32 limit : limits)
        for (const f32 value : {limit, std::nextafter(limit, inf32), std::nextafter(limit, -inf32)})
            x.insert(x.end(), 1 + random() % 3, value);
    std::uniform_real_distribution<f32> between(limits.front() - 1.0F, limits.back() + 1.0F);
    for (std::size_t i = 0; i < more; ++i) x.push_back(between(random));
    std::shuffle(x.begin(), x.end(), random);
    return x;
}

// Limits made as histograms make them, one width after the other.
std::vector<f32> accumulated(f32 first, f32 width, std::size_t n) {
    std::vector<f32> limits = {first};
    while (limits.size() < n) limits.push_back(limits.back() + width);
    return limits;
}

std::vector<f32> without_duplicates(std::vector<f32> limits) {
    std::sort(limits.begin(), limits.end());
    limits.erase(std::unique(limits.begin(), limits.end()), limits.end());
    return limits;
}

TEST(FrequencyTable, CutPointsPartValuesExactlyByTheRule) {
    std::mt19937 random(3);
    std::vector<std::vector<f32>> cuts = {{5.0F},
                                          {-inf32, 0.0F, inf32},
                                          {1.0F, std::nextafter(1.0F, 2.0F), 2.0F, 1e30F},
                                          {-3e38F, 3e38F},
                                          {1e-45F, 3e-45F, 1e-38F},
                                          accumulated(12.3F, 4.7F, 20),
                                          accumulated(-3.0F, 0.25F, 24), // with zero
                                          accumulated(-3.0F, 0.25F, 25),
                                          accumulated(1.0F, 1.0F, 200),
                                          accumulated(-7.0F, 0.5F, 300),
                                          accumulated(-1000.0F, 0.1F, 3000)};
    std::vector<f32> uneven;
    for (int i = 0; i < 255; ++i)
        uneven.push_back(std::exp(static_cast<f32>(random() % 4000) * 0.01F));
    cuts.push_back(without_duplicates(uneven));
    for (const auto& cut : cuts) {
        const request asked{2, static_cast<i32>(cut.size()) + 1, 0, 0, 0, cut};
        // Few values are searched for one by one; many by bucket, or by counting those above each of
        // few cut points.
        for (const std::size_t more : {std::size_t{0}, std::size_t{6000}}) {
            std::vector<f32> x =
                values_on(cut, std::isfinite(cut[0]) && cut[0] > -1e38F ? more : 0, random);
            x.insert(x.end(), {inf32, -inf32, 0.0F, -0.0F, 3.4e38F, 1e-40F});
            if (more > 0)
                for (std::size_t i = 0; x.size() < more; ++i) x.push_back(x[i]);
            const std::vector<f32> expected = tally_by_the_rule(x, asked);
            support::with_each_register_width([&] {
                EXPECT_EQ(tally(x, asked), expected) << cut.size() << " cut points from " << cut[0];
            });
        }
    }
}

TEST(FrequencyTable, EqualIntervalsFollowTheRuleWithItsTolerance) {
    std::mt19937 random(4);
    for (int times = 0; times < 400; ++times) {
        const i32 k = 1 + static_cast<i32>(random() % 60);
        const f32 low = static_cast<f32>(random() % 2000) * 0.37F - 300.0F;
        const f32 width = std::ldexp(1.0F + static_cast<f32>(random() % 100) / 97.0F,
                                     static_cast<int>(random() % 12) - 6);
        std::vector<f32> limits;
        for (i32 i = 0; i <= k; ++i) limits.push_back(low + static_cast<f32>(i) * width);
        std::vector<f32> x = values_on(limits, 20, random);
        const request inner{0, k};
        EXPECT_EQ(tally(x, inner), tally_by_the_rule(x, inner)) << "k = " << k;
        const request open{1, k + 2, low, limits.back()};
        x.insert(x.end(), {inf32, -inf32});
        EXPECT_EQ(tally(x, open), tally_by_the_rule(x, open)) << "k = " << k;
    }
    const request inner{0, 4};
    for (const std::vector<f32>& x : {std::vector<f32>{7, 7, 7},
                                      {inf32, 1, 2},
                                      {-inf32, 1, 2},
                                      {-3e38F, 0, 3e38F},
                                      {0, 1e-45F}})
        EXPECT_EQ(tally(x, inner), tally_by_the_rule(x, inner)) << x[0];
}

TEST(FrequencyTable, LimitsMayLieFurtherApartThanF32Reaches) {
    const f32 low = -3e38F, high = 3e38F; // intervals of 2e38, 3 of them
    std::vector<f32> marks;
    EXPECT_EQ(tally({low, -2e38F, -1.1e38F, -0.9e38F, 0, 1.1e38F, 2.9e38F, high, 3.1e38F, inf32},
                    {1, 5, low, high}, &marks),
              (std::vector<f32>{1, 2, 2, 3, 2}));
    EXPECT_EQ(marks, (std::vector<f32>{-inf32, -2e38F, 0, 2e38F, inf32}));
}

TEST(FrequencyTable, MarksCountWhatIsWithinTheirHalfWidth) {
    std::mt19937 random(6);
    for (const f32 half_width : {0.0F, 0.35F, 0.5F, 0.75F, 3.0F, -1.0F, inf32}) {
        const std::vector<f32> marks = accumulated(-4.0F, 1.0F, 12);
        std::vector<f32> limits = marks;
        for (const f32 mark : marks)
            limits.insert(limits.end(), {mark - half_width, mark + half_width});
        limits = std::isfinite(half_width) ? without_duplicates(limits) : marks;
        std::vector<f32> x = values_on(limits, 200, random);
        x.insert(x.end(), {inf32, -inf32});
        const request asked{3, static_cast<i32>(marks.size()), 0, 0, half_width, marks};
        EXPECT_EQ(tally(x, asked), tally_by_the_rule(x, asked)) << half_width;
    }
}

TEST(FrequencyTable, ReturnsTheMiddlesOfEqualIntervals) {
    std::vector<f32> marks;
    tally({2, 10, 3}, {0, 4}, &marks);
    EXPECT_EQ(marks, (std::vector<f32>{3, 5, 7, 9}));
    tally({2, 10, 3}, {1, 4, 0, 8}, &marks);
    EXPECT_EQ(marks, (std::vector<f32>{-2, 2, 6, 10}));
    std::vector<f32> table(4);
    const std::vector<f32> x = {2, 10, 3};
    OWFRQ(3, x.data(), 4, 0, 0, 0, 0, nullptr, table.data());
    EXPECT_EQ(table, (std::vector<f32>{2, 0, 0, 1})) << "without marks";
}

// 2^24 + 3 counted one by one in f32 would stop at 2^24.
TEST(FrequencyTable, CountsStayExactBeyondWhatF32Counts) {
    const std::vector<f32> x((1U << 24) + 3, 1.0F);
    EXPECT_EQ(tally(x, {2, 2, 0, 0, 0, {1.0F}})[0], 16777220.0F); // the nearest f32
    EXPECT_EQ(tally(x, {3, 1, 0, 0, 0, {1.0F}})[0], 16777220.0F);
}

TEST(FrequencyTable, RefusesBadArgumentsAndWritesNothing) {
    const auto refuse = [](i32 code, const std::vector<f32>& x, const request& asked,
                           std::string_view message) {
        const std::vector<f32> table = tally(x, asked);
        support::expect_error(type_terminal, code, message);
        for (const f32 count : table) EXPECT_EQ(count, untouched) << message;
    };
    refuse(1, {}, {2, 2, 0, 0, 0, {1}}, "NOBS = 0.  There must be at least one observation.");
    refuse(2, {1}, {4, 2},
           "IOPT = 4.  IOPT must be greater than or equal to 0 and less than or equal to 3.");
    refuse(2, {1}, {-1, 2}, "IOPT = -1.  IOPT must be greater|");
    const char* limits = "|The lower bound must be less than the upper bound.";
    refuse(3, {1}, {1, 3, 2, 2}, limits);
    refuse(3, {1}, {1, 3, nan32, 2}, limits);
    const char* order = "|The elements of DIV must be monotonically increasing.";
    refuse(4, {1}, {2, 3, 0, 0, 0, {1, nan32}}, order);
    refuse(4, {1}, {2, 2, 0, 0, 0, {nan32}}, order);
    refuse(4, {1}, {2, 4, 0, 0, 0, {1, 2, 2}}, "DIV(2) = |");
    refuse(4, {1}, {3, 2, 0, 0, 1, {3, 1}}, "DIV(1) = |");
    refuse(5, {1}, {1, 2, 0, 1}, "K = 2.  Since IOPT = 1, there must be at least three intervals.");
    refuse(6, {1}, {2, 1}, "K = 1.  Since IOPT = 2, there must be at least two intervals.");
    refuse(7, {1}, {0, 0}, "K = 0.  There must be at least one interval.");
    refuse(8, {1, nan32}, {2, 2, 0, 0, 0, {1}},
           "X contains missing values.  Missing values are not allowed.");
    // Of cut points the last element is not looked at.
    EXPECT_EQ(tally({1, 5}, {2, 3, 0, 0, 0, {1, 2, -9}}), (std::vector<f32>{1, 0, 1}));
}

TEST(FrequencyTable, CountsMissingValuesAtADistance) {
    const f32 x[] = {nan32, 1, 2, nan32, nan32, 3};
    EXPECT_EQ(ISANAN(6, x, 1), 3);
    EXPECT_EQ(ISANAN(3, x, 2), 2);
    EXPECT_EQ(ISANAN(0, x, 1), 0);
}

} // namespace
