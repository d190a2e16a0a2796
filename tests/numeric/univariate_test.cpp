#include "numeric/univariate_call.hpp"

#include <algorithm>

using namespace univariate;

namespace {

// ---- What is not defined ------------------------------------------------------------------------

TEST(Univariate, StatesWhatIsNotDefined) {
    const f32 n = nan32;
    const f32 any = 1234.5F; // not looked at
    const f32 tiny = 0x1p-63F;
    const f32 small = 0x1p-42F;
    const f32 slight = 0x1.6ap-32F;
    struct {
        const char* name;
        std::vector<f32> x;
        i32 code; // of the last condition, all of type 6
        column expected;
    } const rows[] = {
        {"one value among missing ones", {n, 5, n}, 1, {5, n, n, n, n, 5, 5, 0, n, 1, n, n, n, n}},
        {"nothing", {n, n}, 1, {0, n, n, n, n, n, n, n, n, 0, n, n, n, n}},
        {"all equal", {-5, -5, -5}, 2, {-5, 0, 0, 0, 0, -5, -5, 0, 0, 3, -5, -5, 0, 0}},
        {"zeros of both signs", {0, -0.0F}, 5, {0, 0, 0, 0, 0, 0, 0, 0, n, 2, 0, 0, 0, 0}},
        {"mean zero", {-1, 1}, 5, {0, 2, any, 0, -2, -1, 1, 2, n, 2, any, any, any, any}},
        {"an infinite value",
         {1, infinite, 2},
         5,
         {infinite, n, n, n, n, 1, infinite, infinite, n, 3, n, n, n, n}},
        {"both infinities",
         {-infinite, infinite, 2},
         5,
         {n, n, n, n, n, -infinite, infinite, infinite, n, 3, n, n, n, n}},
        {"only infinities",
         {infinite, infinite},
         5,
         {infinite, n, n, n, n, infinite, infinite, n, n, 2, n, n, n, n}},
        {"no square",
         {0, tiny / 2},
         12,
         {tiny / 4, 0, 0, n, n, 0, tiny / 2, tiny / 2, 0, 2, any, any, 0, 0}},
        {"a square but no cube",
         {0, tiny},
         13,
         {tiny / 2, 0x1p-127F, any, n, n, 0, tiny, tiny, any, 2, any, any, any, any}},
        {"a cube but no fourth power",
         {0, small},
         14,
         {small / 2, any, any, 0, n, 0, small, small, any, 2, any, any, any, any}},
        {"still no fourth power",
         {0, slight},
         14,
         {slight / 2, any, any, 0, n, 0, slight, slight, any, 2, any, any, any, any}},
        {"a fourth power",
         {0, 2 * slight},
         0,
         {slight, any, any, 0, -2, 0, 2 * slight, 2 * slight, any, 2, any, any, any, any}},
        {"beyond f32 only when squared",
         {0, 1e30F},
         0,
         {5e29F, infinite, any, 0, -2, 0, 1e30F, 1e30F, any, 2, any, any, infinite, infinite}},
    };
    for (const auto& given : rows) {
        const outcome got = statistics(given.x);
        EXPECT_EQ(got.code, given.code) << given.name;
        EXPECT_EQ(got.type, given.code == 0 ? 0 : type_warning_everywhere) << given.name;
        EXPECT_EQ(got.missing, std::count_if(given.x.begin(), given.x.end(),
                                             [](f32 v) { return std::isnan(v); }));
        for (std::size_t i = 0; i < 14; ++i) {
            const f32 want = given.expected[i];
            if (want == any) {
                EXPECT_TRUE(std::isfinite(got.stat[i])) << given.name << ", row " << i + 1;
            } else {
                EXPECT_TRUE(got.stat[i] == want || (std::isnan(want) && std::isnan(got.stat[i])))
                    << given.name << ", row " << i + 1 << ": " << got.stat[i];
            }
        }
    }
}

TEST(Univariate, RefusesBadArgumentsAndWritesNothing) {
    struct {
        const char* message;
        i32 code, ido, nrow, nvar, ifrq, iwt;
        f32 conprm, conprv;
        i32 iprint, ldstat;
    } const rows[] = {
        {"IDO = 4.  IDO must be either 0, 1, 2, or 3.", 2, 4, 3, 1, 0, 0, 95, 95, 0, 15},
        {" IPRINT = -1.  IPRINT must be either 0, 1, or 2.", 3, 0, 3, 1, 0, 0, 95, 95, -1, 15},
        {"NVAR = 0.  The number of variables must be positive.", 1, 0, 3, 0, 0, 0, 95, 95, 0, 15},
        {"LDSTAT = 14.  The leading dimension of STAT must be at least 15.", 6, 0, 3, 1, 0, 0, 95,
         95, 0, 14},
        {"NROW = 0 and IDO = 1.  If NROW is nonpositive, IDO must be equal to 2 or 3.", 7, 1, 0, 1,
         0, 0, 95, 95, 0, 15},
        {"The confidence level for the mean, CONPRM, must be less than 100.0.", 8, 0, 3, 1, 0, 0,
         100, 95, 0, 15},
        {"The confidence level for the mean, CONPRM, must be less than 100.0.", 8, 0, 3, 1, 0, 0,
         nan32, 95, 0, 15},
        {"The confidence level for the variance, CONPRV, must be less than 100.0.", 9, 0, 3, 1, 0,
         0, 95, 101, 0, 15},
        {"IFRQ = 3.  IFRQ must be greater than or equal to 0 and less than or equal to 2.", 4, 0, 3,
         1, 3, 0, 95, 95, 0, 15},
        {"IWT = -1.  IWT must be greater than or equal to 0 and less than or equal to 2.", 5, 0, 3,
         1, 0, -1, 95, 95, 0, 15},
        {"IFRQ = IWT = 2.  Frequencies and weights must be in different columns.", 5, 0, 3, 1, 2, 2,
         95, 95, 0, 15},
    };
    const std::vector<f32> x(9, 1.0F);
    for (const auto& given : rows) {
        column stat;
        stat.fill(untouched);
        const column before = stat;
        i32 missing = 99;
        ERSET(0, 0, 0);
        UVSTA(given.ido, given.nrow, given.nvar, x.data(), 3, given.ifrq, given.iwt, given.conprm,
              given.conprv, given.iprint, stat.data(), given.ldstat, &missing);
        EXPECT_EQ(N1RTY(1), type_terminal) << given.message;
        EXPECT_EQ(N1RCD(1), given.code) << given.message;
        EXPECT_NE(last_message().find(given.message), std::string_view::npos) << last_message();
        EXPECT_TRUE(same_bits(stat, before)) << given.message;
        EXPECT_EQ(missing, 99) << given.message;
    }
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
    f32 operator()(i32 row, i32 number) const {
        return elements[static_cast<std::size_t>((number - 1) * rows + row)];
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
    for (const i32 variable : {2, 4}) {
        const column& got = with_both.stat[variable / 2 - 1];
        wide count = 0, weight = 0, sum = 0, second = 0, third = 0, fourth = 0;
        f32 lowest = infinite, highest = -infinite;
        const auto for_rows = [&](auto act) {
            for (i32 i = 0; i < matrix::rows; ++i)
                if (data(i, 1) * data(i, 3) > 0 && !std::isnan(data(i, variable)))
                    act(wide(data(i, 1)), wide(data(i, 3)), data(i, variable));
        };
        for_rows([&](const wide& f, const wide& w, f32 x) {
            count += f;
            weight += f * w;
            sum += f * w * x;
            lowest = std::min(lowest, x);
            highest = std::max(highest, x);
        });
        const wide mean = sum / weight;
        for_rows([&](const wide& f, const wide& w, f32 x) {
            const wide d = x - mean;
            second += f * w * d * d;
            third += f * w * d * d * d;
            fourth += f * w * d * d * d * d;
        });
        expect_accurate(got,
                        support::statistics_of(count, mean, second, third, fourth, lowest, highest),
                        "weighted variable " + std::to_string(variable));
        EXPECT_EQ(got[14], static_cast<f32>(weight));
    }
    i32 missing = 0;
    for (i32 i = 0; i < matrix::rows; ++i) missing += std::isnan(data(i, 2)) ? 1 : 0;
    EXPECT_EQ(with_both.missing, missing);

    std::vector<f32> x, times, repeated;
    for (i32 i = 0; i < matrix::rows; ++i) {
        x.push_back(data(i, 2));
        times.push_back(data(i, 1));
        repeated.insert(repeated.end(), static_cast<std::size_t>(data(i, 1)), data(i, 2));
    }
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
            {{0, 1}, {1, rows - 1}, {500, 600}, {500, -600}, {0, 0}},
        };
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

TEST(Univariate, RunningStateHoldsWhatIsNotANumberAndRefusesToGoBelowNothing) {
    const std::vector<f32> x = {1.0F, nan32, infinite, 4.0F};
    column stat;
    ERSET(0, 0, 0);
    const auto call = [&](i32 ido, i32 nrow, const f32* first) {
        UVSTA(ido, nrow, 1, first, 4, 0, 0, 95.0F, 95.0F, 0, stat.data(), 15, nullptr);
        return N1RCD(1);
    };
    call(1, 2, x.data());
    call(2, 1, x.data() + 2);
    call(3, 1, x.data() + 3);
    EXPECT_EQ(stat[0], infinite);
    EXPECT_TRUE(std::isnan(stat[1]) && std::isnan(stat[10]));
    EXPECT_EQ(stat[9], 3.0F);

    call(1, 1, x.data());
    const column before = stat;
    EXPECT_EQ(call(3, -4, x.data()), 10);
    EXPECT_EQ(last_message(), "The number of nonmissing observations is less than zero.");
    EXPECT_TRUE(same_bits(stat, before));
    EXPECT_EQ(call(3, -1, x.data()), 1) << "back to nothing";
    EXPECT_EQ(stat[9], 0.0F);

    const std::vector<f32> y = {-9.0F, 1.0F, 2.0F, 4.0F};
    call(1, 4, y.data());
    call(3, -1, y.data());
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

TEST(Univariate, LimitsWithoutTheirQuantileAreNotNumbers) {
    const f32 any = 1234.5F; // a number
    struct {
        const char* name;
        f32 frequency, conprm, conprv;
        i32 code;
        const char* message;
        f32 of_mean, of_variance;
    } const rows[] = {
        // Student's t asks for one degree of freedom, chi-squared for half of one.
        {"seven tenths of a degree", 0.85F, 95, 95, 8,
         "An error occured in determining the t statistic.  The confidence limits are set to NaN "
         "(not a ",
         nan32, any},
        {"a quarter of a degree", 0.625F, 95, 95, 11,
         "An error occured in determining the chi-squared statistic.  ", nan32, nan32},
        {"a quarter, variance only", 0.625F, 0, 95, 11,
         "An error occured in determining the chi-squared statistic.  ", 0, nan32},
        {"a quarter, mean only", 0.625F, 95, 0, 8,
         "An error occured in determining the t statistic.  ", nan32, 0},
    };
    for (const auto& given : rows) {
        const f32 x[] = {1, 3, given.frequency, given.frequency};
        outcome got;
        ERSET(0, 0, 0);
        UVSTA(0, 2, 1, x, 2, 2, 0, given.conprm, given.conprv, 0, got.stat.data(), 15, nullptr);
        EXPECT_EQ(N1RTY(1), type_warning_everywhere) << given.name;
        EXPECT_EQ(N1RCD(1), given.code) << given.name;
        EXPECT_TRUE(last_message().starts_with(given.message)) << last_message();
        EXPECT_EQ(got.row(1), 2.0F) << given.name;
        for (const int row : {11, 12, 13, 14}) {
            const f32 want = row < 13 ? given.of_mean : given.of_variance;
            const bool as_told = want == any        ? std::isfinite(got.row(row))
                                 : std::isnan(want) ? std::isnan(got.row(row))
                                                    : got.row(row) == want;
            EXPECT_TRUE(as_told) << given.name << ", row " << row << ": " << got.row(row);
        }
    }
}

// More spread was taken away than there had been.
TEST(Univariate, ANegativeVarianceIsNotANumber) {
    const std::vector<f32> x = {4.0F, 5.0F, 6.0F, 1.0F, 9.0F};
    column stat;
    ERSET(0, 0, 0);
    const auto call = [&](i32 ido, i32 nrow, const f32* first) {
        UVSTA(ido, nrow, 1, first, 5, 0, 0, 95.0F, 95.0F, 0, stat.data(), 15, nullptr);
    };
    call(1, 4, x.data());
    call(2, 0, x.data());
    call(3, -2, x.data() + 3);
    EXPECT_EQ(N1RTY(1), type_warning_everywhere);
    EXPECT_EQ(stat[9], 2.0F);
    for (const std::size_t row : {1U, 2U, 3U, 4U, 8U, 10U, 11U, 12U, 13U})
        EXPECT_TRUE(std::isnan(stat[row])) << "row " << row + 1 << ": " << stat[row];
}

} // namespace
