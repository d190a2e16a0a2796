// The statistics record: classes, histogram, read-backs, target test and what stays from before.
#include "measure_statistics/statistics.hpp"
#include "support/expect_event.hpp"

using namespace qmx;

namespace {

t_statsout record_of(f32 filler) {
    t_statsout record;
    std::memset(&record, 0, sizeof record);
    std::fill_n(record.x_bin, 200, filler);
    std::fill_n(record.x_freq, 200, filler);
    std::fill_n(record.x_cumfreq, 200, filler);
    record.i_target_met = 77;
    record.x_achieved_pct = filler;
    record.x_pctvalue[0] = record.x_pctvalue[1] = filler;
    return record;
}

i32 analyse(i32 pass, i32 below, const std::vector<f64>& values, t_statsout& record) {
    clear_event();
    return qmx_stats(pass, below, static_cast<i32>(values.size()),
                     view_of(values.data(), std::ssize(values)), record);
}

// The histogram as a plain reading of its rule: one pass over the data for each class.
void expect_plain_histogram(const std::vector<f64>& values, const std::vector<f32>& limits,
                            const t_statsout& record) {
    const auto classes = limits.size();
    f32 cumulative = 0;
    for (std::size_t k = 0; k < std::min<std::size_t>(classes, 200); ++k) {
        i32 count = 0;
        for (const f64 value : values) {
            const f32 x = static_cast<f32>(value);
            const bool above = k == 0 || x > limits[k - 1];
            const bool within = k + 1 == classes || x <= limits[k];
            count += above && within;
        }
        const f32 percent = static_cast<f32>(count) / static_cast<f32>(values.size()) * 100.0F;
        cumulative = k == 0 ? percent : cumulative + percent;
        EXPECT_EQ(record.x_bin[k], limits[k]) << k;
        EXPECT_EQ(record.x_freq[k], percent) << k;
        EXPECT_EQ(record.x_cumfreq[k], cumulative) << k;
    }
}

TEST(Histogram, OfAContinuousMeasureHasTwentyAccumulatedSteps) {
    std::mt19937_64 random(7);
    std::normal_distribution<f64> normal(80, 15);
    std::vector<f64> values(2000);
    for (f64& value : values) value = std::round(normal(random) * 4) / 4;
    t_statsout record = record_of(-5);
    record.x_pctlevel[0] = 10;
    record.x_pctlevel[1] = 100;
    ASSERT_EQ(analyse(2, 2, values, record), 1);

    f32 low = INFINITY;
    f32 high = -INFINITY;
    for (const f64 value : values) {
        low = std::min(low, static_cast<f32>(value));
        high = std::max(high, static_cast<f32>(value));
    }
    std::vector<f32> limits;
    for (f32 limit = low; limits.size() < 21; limit += (high - low) / 20.0F)
        limits.push_back(limit);
    EXPECT_EQ(record.i_numbins, 21);
    EXPECT_EQ(record.i_numdata, 2000);
    expect_plain_histogram(values, limits, record);
    EXPECT_EQ(record.x_bin[21], -5) << "entries past the classes stay";
    EXPECT_EQ(record.x_pctvalue[1], record.x_bin[19]) << "a level past entry 20 reads its limit";
    EXPECT_GT(record.x_pctvalue[0], record.x_bin[0]);
    EXPECT_LT(record.x_pctvalue[0], 80);
    EXPECT_EQ(record.i_target_met, 77) << "no target test was asked for";
}

TEST(Histogram, OfPassCountsHasOneEntryForEachCountFromZero) {
    const std::vector<f64> passes = {1, 2, 2, 3, 3, 3, 4, 4, 4, 4};
    t_statsout record = record_of(-5);
    record.i_flag_target = 1;
    record.x_target = 3;
    record.x_target_pct = 70;
    ASSERT_EQ(analyse(1, 2, passes, record), 1);
    EXPECT_EQ(record.i_numbins, 5);
    expect_plain_histogram(passes, {0, 1, 2, 3, 4, 5}, record);
    EXPECT_EQ(record.x_achieved_pct, 70) << "at least three passes";
    EXPECT_EQ(record.i_target_met, 1) << "equal means met";
    EXPECT_EQ(record.x_target, 3) << "the host's target stays";

    record.x_target_pct = 70.001F;
    analyse(1, 2, passes, record);
    EXPECT_EQ(record.i_target_met, 2);
    analyse(1, 1, passes, record);
    EXPECT_EQ(record.x_achieved_pct, 30) << "at or below the lowered target";
}

TEST(Histogram, OfTwoHundredClassesEndsInTheTargetField) {
    std::vector<f64> passes;
    for (int i = 0; i < 200; ++i) passes.push_back(i);
    t_statsout record = record_of(-5);
    record.i_flag_target = 1;
    record.x_target = 17;
    record.x_pctlevel[0] = 50;
    ASSERT_EQ(analyse(1, 1, passes, record), 1);
    EXPECT_EQ(record.i_numbins, 200);
    std::vector<f32> limits;
    for (int i = 0; i <= 200; ++i) limits.push_back(static_cast<f32>(i));
    expect_plain_histogram(passes, limits, record);
    EXPECT_EQ(record.x_target, record.x_cumfreq[199]) << "entry 201 of the cumulative share";
    // The target test reads that field: about 100 passes less one.
    EXPECT_NEAR(record.x_achieved_pct, 100.0F * 100 / 200, 0.01);
    EXPECT_EQ(record.x_pctlevel[0], 50);
}

TEST(Histogram, RefusesPassCountsThatDoNotFit) {
    constexpr i32 lowest = std::numeric_limits<i32>::min() + 1;
    struct {
        f64 largest;
        i32 numbins; // -1 where there are too many, and none is counted
    } const rows[] = {{200, -1}, {3e9, -1}, {inf64, -1},    {0.5, 1},         {-0.5, 1},
                      {-1, 0},   {-5, -4},  {-3e9, lowest}, {-inf64, lowest}, {nan64, lowest}};
    for (const auto& [largest, numbins] : rows) {
        SCOPED_TRACE(largest);
        t_statsout record = record_of(-5);
        record.i_numbins = -1;
        EXPECT_EQ(analyse(1, 2, {largest, largest, largest}, record), 3);
        EXPECT_EQ(record.i_numbins, numbins);
        EXPECT_EQ(record.i_numdata, 3);
        EXPECT_EQ(record.x_cumfreq[5], -5);
        if (numbins == -1)
            support::expect_event(
                "High pass counts causing histogram intervals exceeding the maximum 200",
                "qmx_stats");
        else
            support::expect_event("x_y size is not correct", "linr_intpol_s/qmx_stats");
    }
    t_statsout record = record_of(-5);
    EXPECT_EQ(analyse(1, 2, {199.99, 3, 1}, record), 1) << "200 classes are accepted";
}

TEST(ConstantData, GiveOneClassAndSkipTheRest) {
    constexpr f64 epsilon = 0x1p-23; // of f32
    struct {
        const char* name;
        std::vector<f64> values;
        f32 bin;
    } const rows[] = {{"equal", {4, 4, 4}, 4},
                      {"a narrow span", {1, 1 + 1.1920929e-7, 1 + 2 * 1.1920929e-7}, 1.0000001F},
                      {"steps of exactly one epsilon", {0, 20 * epsilon}, 10 * epsilon},
                      {"no number", {nan64, nan64, nan64}, 0},
                      {"minus infinite", {-inf64, -inf64}, -INFINITY}};
    for (const auto& row : rows) {
        t_statsout record = record_of(-5);
        record.i_flag_target = 1;
        EXPECT_EQ(analyse(2, 2, row.values, record), 1) << row.name;
        EXPECT_EQ(record.i_numbins, 1) << row.name;
        EXPECT_EQ(record.x_bin[0], row.bin) << row.name;
        EXPECT_EQ(record.x_freq[0] + record.x_cumfreq[0], 200) << row.name;
        EXPECT_EQ(record.x_pctvalue[0], -5) << row.name;
        EXPECT_EQ(record.x_achieved_pct, -5) << row.name;
        EXPECT_EQ(record.i_target_met, 77) << row.name;
    }
    t_statsout record = record_of(-5);
    EXPECT_EQ(analyse(2, 2, {0, 20 * epsilon * (1 + epsilon)}, record), 1);
    EXPECT_EQ(record.i_numbins, 21) << "steps of the next number above epsilon";
}

TEST(Forgiveness, ATooSmallArrayHandsOutThePreviousStatistics) {
    t_statsout first = record_of(-5);
    t_statsout second = record_of(-5);
    ASSERT_EQ(analyse(2, 2, {1, 2, 3, 4}, first), 1);
    ASSERT_EQ(analyse(2, 2, {9}, second), 1);
    EXPECT_EQ(0, std::memcmp(first.x_stat, second.x_stat, sizeof first.x_stat));
    EXPECT_EQ(second.x_bin[0], 9);
}

TEST(Forgiveness, ATallyThatIsRefusedLeavesZeros) {
    struct {
        const char* name;
        std::vector<f64> values;
    } const rows[] = {{"a missing value", {1, 2, nan64, 3}},
                      {"steps too small for the magnitude", {1e8, 1e8, 1e8 + 8}},
                      {"an infinite value", {1, 2, inf64}}};
    for (const auto& row : rows) {
        t_statsout record = record_of(-5);
        EXPECT_EQ(analyse(2, 2, row.values, record), 1) << row.name;
        EXPECT_EQ(record.i_numbins, 21) << row.name;
        for (int k = 0; k < 21; ++k) EXPECT_EQ(record.x_freq[k] + record.x_cumfreq[k], 0);
        EXPECT_FALSE(has_failed());
    }
}

TEST(Statistics, ComeFromTheNarrowedValues) {
    // In f32 both values are 16777216: a range of 0 and a mean without the last digit.
    t_statsout record = record_of(0);
    ASSERT_EQ(analyse(2, 2, {16777216, 16777217}, record), 1);
    EXPECT_EQ(record.x_stat[0], 16777216.0F);
    EXPECT_EQ(record.x_stat[7], 0);
    // Closed form: 1..9 has mean 5, variance 7.5, skewness 0, excess -1.23.
    ASSERT_EQ(analyse(2, 2, {1, 2, 3, 4, 5, 6, 7, 8, 9}, record), 1);
    EXPECT_EQ(record.x_stat[0], 5);
    EXPECT_EQ(record.x_stat[1], 7.5F);
    EXPECT_FLOAT_EQ(record.x_stat[2], std::sqrt(7.5F));
    EXPECT_EQ(record.x_stat[3], 0);
    EXPECT_FLOAT_EQ(record.x_stat[4], -1.23F);
    EXPECT_EQ(record.x_stat[5] + record.x_stat[6], 10);
    EXPECT_EQ(record.x_stat[9], 9);
    EXPECT_EQ(record.x_stat[14], 0);
}

} // namespace
