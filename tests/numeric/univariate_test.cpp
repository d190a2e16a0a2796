#include "numeric/univariate_call.hpp"

using namespace univariate;

namespace {

// ---- What is not defined ------------------------------------------------------------------------

constexpr f32 any = 1234.5F; // stands for any finite number

TEST(Univariate, StatesWhatIsNotDefined) {
    const f32 n = nan32, i = inf32, tiny = 0x1p-63F, small = 0x1p-42F, slight = 0x1.6ap-32F;
    // code: of the last condition, all of type 6
    const auto expect = [](const std::string& name, const std::vector<f32>& x, i32 code,
                           const column& expected) {
        const outcome got = statistics(x);
        EXPECT_EQ(got.code, code) << name;
        EXPECT_EQ(got.type, code == 0 ? 0 : type_warning_everywhere) << name;
        EXPECT_EQ(got.missing, std::count_if(x.begin(), x.end(), [](f32 v) { return v != v; }));
        for (std::size_t row = 0; row < 14; ++row) {
            const f32 is = got.stat[row], want = expected[row];
            EXPECT_TRUE(want == any ? std::isfinite(is) : is == want || (is != is && want != want))
                << name << ", row " << row + 1 << ": " << is;
        }
    };
    expect("one value among missing ones", {n, 5, n}, 1,
           {5, n, n, n, n, 5, 5, 0, n, 1, n, n, n, n});
    expect("nothing", {n, n}, 1, {0, n, n, n, n, n, n, n, n, 0, n, n, n, n});
    expect("all equal", {-5, -5, -5}, 2, {-5, 0, 0, 0, 0, -5, -5, 0, 0, 3, -5, -5, 0, 0});
    expect("zeros of both signs", {0, -0.0F}, 5, {0, 0, 0, 0, 0, 0, 0, 0, n, 2, 0, 0, 0, 0});
    expect("mean zero", {-1, 1}, 5, {0, 2, any, 0, -2, -1, 1, 2, n, 2, any, any, any, any});
    expect("a mean below f32", {1, -1, 1e-45F}, 5,
           {0, any, any, any, any, -1, 1, 2, n, 3, any, any, any, any});
    expect("an infinite value", {1, i, 2}, 5, {i, n, n, n, n, 1, i, i, n, 3, n, n, n, n});
    expect("both infinities", {-i, i, 2}, 5, {n, n, n, n, n, -i, i, i, n, 3, n, n, n, n});
    expect("only infinities", {i, i}, 5, {i, n, n, n, n, i, i, n, n, 2, n, n, n, n});
    expect("no square", {0, tiny / 2}, 12,
           {tiny / 4, 0, 0, n, n, 0, tiny / 2, tiny / 2, 0, 2, any, any, 0, 0});
    expect("a square but no cube", {0, tiny}, 13,
           {tiny / 2, 0x1p-127F, any, n, n, 0, tiny, tiny, any, 2, any, any, any, any});
    expect("a cube but no fourth power", {0, small}, 14,
           {small / 2, any, any, 0, n, 0, small, small, any, 2, any, any, any, any});
    expect("still no fourth power", {0, slight}, 14,
           {slight / 2, any, any, 0, n, 0, slight, slight, any, 2, any, any, any, any});
    expect("a fourth power", {0, 2 * slight}, 0,
           {slight, any, any, 0, -2, 0, 2 * slight, 2 * slight, any, 2, any, any, any, any});
    expect("beyond f32 only when squared", {0, 1e30F}, 0,
           {5e29F, i, any, 0, -2, 0, 1e30F, 1e30F, any, 2, any, any, i, i});
}

// Means a hair beside the midpoint of two neighbours in f32: what is far below the last bit decides.
TEST(Univariate, MeanRoundsByAllThatLiesBelowItsLastBit) {
    const f32 u = 0x1p-23F; // ulp of 1
    EXPECT_EQ(statistics({1, 1, 1, 1, 1 + u, 1 + u, 2 + 2 * u, 0x1p-70F}).row(1), 1 + u);
    EXPECT_EQ(statistics({1, 1, 1, 1, 1 + u, 1 + u, 2 + 2 * u, 0}).row(1), 1) << "to even";
    for (const std::vector<f32>& x : {std::vector<f32>{1, 1, 1 + u, 1 + 2 * u, -0x1p-100F},
                                      {1, 1, 1, 1, 1 + u, 1 + u, 2 + 2 * u, -0x1p-70F},
                                      {3, 1 + 2 * u, 0x1p-149F, u * 0x1p-30F, -u * 0x1p-30F, 0}})
        EXPECT_EQ(statistics(x).row(1), static_cast<f32>(support::statistics_of(x).row[0]));
}

TEST(Univariate, RefusesBadArgumentsAndWritesNothing) {
    struct arguments {
        i32 IDO = 0, NROW = 3, NVAR = 1, IFRQ = 0, IWT = 0;
        f32 CONPRM = 95, CONPRV = 95;
        i32 IPRINT = 0, LDSTAT = 15;
    };
    const auto refuse = [](i32 code, const std::string& message, const arguments& a) {
        const std::vector<f32> x(9, 1.0F);
        column stat;
        stat.fill(untouched);
        const column before = stat;
        i32 missing = 99;
        ERSET(0, 0, 0);
        UVSTA(a.IDO, a.NROW, a.NVAR, x.data(), 3, a.IFRQ, a.IWT, a.CONPRM, a.CONPRV, a.IPRINT,
              stat.data(), a.LDSTAT, &missing);
        support::expect_error(type_terminal, code, "|" + message);
        EXPECT_TRUE(same_bits(stat, before)) << message;
        EXPECT_EQ(missing, 99) << message;
    };
    refuse(1, "NVAR = 0.  The number of variables must be positive.", {.NVAR = 0});
    refuse(2, "IDO = 4.  IDO must be either 0, 1, 2, or 3.", {.IDO = 4});
    refuse(2, "IDO = -1.  IDO must be either 0, 1, 2, or 3.", {.IDO = -1});
    refuse(3, " IPRINT = 3.  IPRINT must be either 0, 1, or 2.", {.IPRINT = 3});
    refuse(3, " IPRINT = -1.  IPRINT must be either 0, 1, or 2.", {.IPRINT = -1});
    const std::string upto = " must be greater than or equal to 0 and less than or equal to 2.";
    refuse(4, "IFRQ = 3.  IFRQ" + upto, {.IFRQ = 3});
    refuse(5, "IWT = -1.  IWT" + upto, {.IWT = -1});
    refuse(5, "IFRQ = IWT = 2.  Frequencies and weights must be in different columns.",
           {.IFRQ = 2, .IWT = 2});
    refuse(6, "LDSTAT = 14.  The leading dimension of STAT must be at least 15.", {.LDSTAT = 14});
    refuse(7, "NROW = 0 and IDO = 1.  If NROW is nonpositive, IDO must be equal to 2 or 3.",
           {.IDO = 1, .NROW = 0});
    const char* level = "The confidence level for the mean, CONPRM, must be less than 100.0.";
    refuse(8, level, {.CONPRM = 100});
    refuse(8, level, {.CONPRM = nan32});
    refuse(9, "The confidence level for the variance, CONPRV, must be less than 100.0.",
           {.CONPRV = 101});
}

// ---- Frequencies, weights, several variables, several calls -------------------------------------

// A column-major matrix of a few thousand rows: frequencies, a variable, weights, a variable.
struct matrix {
    static constexpr i32 rows = 3001;
    std::vector<f32> elements = made(4 * rows, [](std::size_t i, std::mt19937& random) {
        switch (i / rows) {
        case 0: return static_cast<f32>(random() % 4); // of which zero rules out
        case 1: return random() % 50 == 0 ? nan32 : normal(random, 1000.0F, 3.0F);
        case 2: return static_cast<f32>(random() % 8) * 0.25F;
        default: return std::exp(normal(random, 0.0F, 1.0F));
        }
    });
    std::vector<f32> column(i32 number) const {
        return {elements.begin() + (number - 1) * rows, elements.begin() + number * rows};
    }
};

struct table {
    column stat[2];
    i32 missing = 0;
};

// Rows from the given ones on; a part is the number of rows of one call, negative if taken away.
table in_parts(const matrix& data, i32 ifrq, i32 iwt,
               const std::vector<std::pair<i32, i32>>& parts) {
    table result;
    ERSET(0, 0, 0);
    const i32 nvar = 2;
    for (std::size_t part = 0; part < parts.size(); ++part) {
        const i32 ido = parts.size() == 1 ? 0 : part == 0 ? 1 : part + 1 == parts.size() ? 3 : 2;
        UVSTA(ido, parts[part].second, nvar, data.elements.data() + parts[part].first, matrix::rows,
              ifrq, iwt, 95.0F, 95.0F, 0, result.stat[0].data(), 15, &result.missing);
    }
    return result;
}

TEST(Univariate, FrequenciesStandForRepeatedRowsAndWeightsForWeightedSums) {
    const matrix data;
    const table with_both = in_parts(data, 1, 3, {{0, matrix::rows}});
    const std::vector<f32> times = data.column(1), weights = data.column(3);
    for (const i32 variable : {2, 4}) {
        wide weight = 0;
        const auto exact = support::statistics_of(data.column(variable), times, weights, weight);
        const column& got = with_both.stat[variable / 2 - 1];
        expect_accurate(got, exact, "weighted variable " + std::to_string(variable));
        EXPECT_EQ(got[14], static_cast<f32>(weight));
    }
    std::vector<f32> x = data.column(2), repeated;
    EXPECT_EQ(with_both.missing, std::count_if(x.begin(), x.end(), [](f32 v) { return v != v; }));
    for (std::size_t i = 0; i < x.size(); ++i)
        repeated.insert(repeated.end(), static_cast<std::size_t>(times[i]), x[i]);
    x.insert(x.end(), times.begin(), times.end());
    outcome frequencies;
    frequencies.stat.fill(untouched);
    UVSTA(0, matrix::rows, 1, x.data(), matrix::rows, 2, 0, 95.0F, 95.0F, 0,
          frequencies.stat.data(), 15, nullptr);
    expect_accurate(frequencies.stat, support::statistics_of(repeated), "repeated");
}

TEST(Univariate, SeveralCallsGiveWhatOneGives) {
    const matrix data;
    for (const auto& [ifrq, iwt] : {std::pair{0, 0}, {1, 3}}) {
        const i32 rows = matrix::rows;
        const table one = in_parts(data, ifrq, iwt, {{0, rows}});
        const std::vector<std::pair<i32, i32>> splits[] = {
            {{0, 1000}, {1000, 1}, {1001, 2000}},
            {{0, rows}, {0, 0}},
            {{0, 1}, {1, rows - 1}, {500, 600}, {500, -600}, {0, 0}}};
        for (const auto& split : splits) {
            const table several = in_parts(data, ifrq, iwt, split);
            EXPECT_EQ(several.missing, one.missing);
            for (std::size_t variable = 0; variable < 2; ++variable)
                for (std::size_t i = 0; i < (iwt > 0 ? 15U : 14U); ++i)
                    EXPECT_LE(support::ulps_between(several.stat[variable][i],
                                                    wide(one.stat[variable][i]), i == 3 || i == 4),
                              2.0)
                        << "variable " << variable + 1 << ", row " << i + 1 << ", " << split.size()
                        << " calls";
        }
    }
}

// The next rows of one variable.
i32 take_in(i32 ido, const f32* first, i32 nrow, column& stat) {
    UVSTA(ido, nrow, 1, first, 5, 0, 0, 95.0F, 95.0F, 0, stat.data(), 15, nullptr);
    return N1RCD(1);
}

TEST(Univariate, RunningStateHoldsWhatIsNotANumberAndRefusesToGoBelowNothing) {
    const std::vector<f32> x = {1.0F, nan32, inf32, 4.0F};
    column stat;
    ERSET(0, 0, 0);
    take_in(1, x.data(), 2, stat);
    take_in(2, x.data() + 2, 1, stat);
    take_in(3, x.data() + 3, 1, stat);
    EXPECT_EQ(stat[0], inf32);
    EXPECT_TRUE(std::isnan(stat[1]) && std::isnan(stat[10]));
    EXPECT_EQ(stat[9], 3.0F);

    take_in(1, x.data(), 1, stat);
    const column before = stat;
    EXPECT_EQ(take_in(3, x.data(), -4, stat), 10);
    EXPECT_EQ(last_message(), "The number of nonmissing observations is less than zero.");
    EXPECT_TRUE(same_bits(stat, before));
    EXPECT_EQ(take_in(3, x.data(), -1, stat), 1) << "back to nothing";
    EXPECT_EQ(stat[9], 0.0F);

    const std::vector<f32> y = {-9.0F, 1.0F, 2.0F, 4.0F};
    take_in(1, y.data(), 4, stat);
    take_in(3, y.data(), -1, stat);
    EXPECT_EQ(stat[5], -9.0F) << "extremes stay";
    EXPECT_EQ(stat[9], 3.0F);
    EXPECT_FLOAT_EQ(stat[0], 7.0F / 3.0F);
    EXPECT_FLOAT_EQ(stat[1], 7.0F / 3.0F);
}

TEST(Univariate, RowsWithNegativeOrNoWeightDoNotCount) {
    const std::vector<f32> x = {1, 2, 9, 3, 1, 1, -1, 1};
    outcome got;
    ERSET(0, 0, 0);
    const auto call = [&](const f32* weights) {
        std::vector<f32> both(x.begin(), x.begin() + 4);
        both.insert(both.end(), weights, weights + 4);
        UVSTA(0, 4, 1, both.data(), 4, 0, 2, 95.0F, 95.0F, 0, got.stat.data(), 15, &got.missing);
    };
    call(x.data() + 4);
    EXPECT_EQ(IERCD(), 16) << "a warning that callers see";
    EXPECT_EQ(got.row(1), 2.0F);
    EXPECT_EQ(got.row(7), 3.0F);
    EXPECT_EQ(got.row(10), 3.0F);
    EXPECT_EQ(got.row(15), 3.0F);

    const f32 none[] = {0, 0, nan32, 0};
    call(none);
    EXPECT_EQ(N1RCD(1), 15);
    EXPECT_EQ(got.missing, 1);
    EXPECT_EQ(got.row(15), 0.0F);
    EXPECT_TRUE(std::isnan(got.row(2)));
}

TEST(Univariate, FrequencyAndWeightDecideTogetherWhatARowIsFor) {
    constexpr row_use missing = row_use::missing, refused = row_use::refused,
                      counts = row_use::counts, ruled_out = row_use::ruled_out;
    const f32 values[] = {2, 0, -1, nan32};
    const row_use expected[4][4] = {{counts, ruled_out, refused, missing},
                                    {ruled_out, ruled_out, refused, missing},
                                    {refused, refused, refused, missing},
                                    {missing, missing, missing, missing}};
    for (std::size_t i = 0; i < 4; ++i)
        for (std::size_t j = 0; j < 4; ++j)
            EXPECT_EQ(C1WFR(values[i], values[j]), expected[i][j]) << i << ' ' << j;
}

TEST(Univariate, OfAWeightedInfinityOnlyTheMeanIsLeft) {
    for (const f32 infinite : {inf32, -inf32}) {
        const std::vector<f32> columns = {1, infinite, 3, 1, 1, 1, 2, 1, 1};
        outcome got;
        ERSET(0, 0, 0);
        UVSTA(0, 3, 1, columns.data(), 3, 2, 3, 95.0F, 95.0F, 0, got.stat.data(), 15, &got.missing);
        EXPECT_EQ(got.row(1), infinite);
        EXPECT_TRUE(std::isnan(got.row(2)) && std::isnan(got.row(4)));
        EXPECT_EQ(got.row(infinite > 0 ? 7 : 6), infinite);
        EXPECT_EQ(got.row(15), 4.0F);
    }
}

TEST(Univariate, LimitsWithoutTheirQuantileAreNotNumbers) {
    const auto expect = [](f32 frequency, f32 conprm, f32 conprv, i32 code, const char* message,
                           f32 of_mean, f32 of_variance) {
        const f32 x[] = {1, 3, frequency, frequency};
        outcome got;
        ERSET(0, 0, 0);
        UVSTA(0, 2, 1, x, 2, 2, 0, conprm, conprv, 0, got.stat.data(), 15, nullptr);
        support::expect_error(type_warning_everywhere, code, message);
        EXPECT_EQ(got.row(1), 2.0F) << frequency;
        for (const int row : {11, 12, 13, 14}) {
            const f32 is = got.row(row), want = row < 13 ? of_mean : of_variance;
            EXPECT_TRUE(want == any ? std::isfinite(is) : is == want || (is != is && want != want))
                << frequency << ", row " << row << ": " << is;
        }
    };
    const char* student = "An error occured in determining the t statistic.  The confidence limits "
                          "are set to NaN (not a number).|";
    const char* chi = "An error occured in determining the chi-squared statistic.  |";
    // Student's t needs one degree of freedom, chi-squared half of one.
    expect(0.85F, 95, 95, 8, student, nan32, any);
    expect(0.625F, 95, 95, 11, chi, nan32, nan32);
    expect(0.625F, 0, 95, 11, chi, 0, nan32);
    expect(0.625F, 95, 0, 8, student, nan32, 0);
}

// More spread is removed than there was.
TEST(Univariate, ANegativeVarianceIsNotANumber) {
    const std::vector<f32> x = {4.0F, 5.0F, 6.0F, 1.0F, 9.0F};
    column stat;
    ERSET(0, 0, 0);
    take_in(1, x.data(), 4, stat);
    take_in(2, x.data(), 0, stat);
    take_in(3, x.data() + 3, -2, stat);
    EXPECT_EQ(N1RTY(1), type_warning_everywhere);
    EXPECT_EQ(stat[9], 2.0F);
    for (const std::size_t row : {1U, 2U, 3U, 4U, 8U, 10U, 11U, 12U, 13U})
        EXPECT_TRUE(std::isnan(stat[row])) << "row " << row + 1 << ": " << stat[row];
}

} // namespace
