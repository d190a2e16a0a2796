// Measures the errors that docs/accuracy.md states and holds its tables to them. Prints the rows as
// they should stand there.
#include "numeric/distributions/distributions.hpp"
#include "numeric/univariate_samples.hpp"
#include "support/accuracy_quantiles.hpp"
#include "support/accuracy_table.hpp"
#include "support/certified_set.hpp"

#include <iostream>

using namespace univariate;
using support::error_tally;
using support::in_last_places;
using support::measured_errors;
using support::shortest;
using support::takes_sample;

namespace {

const std::string document = QMX_IC_SOURCE_DIR "/docs/accuracy.md";

// ---- Univariate statistics ----------------------------------------------------------------------

// The row has no exact value to compare with: an underflow guard holds it, or a mean of zero.
bool is_guarded(int row, i32 code) {
    const bool shape = row == 4 || row == 5;
    switch (code) {
    case 2: return true;
    case 5: return row == 9;
    case 12: return shape || row == 2 || row == 3 || row == 9 || row >= 11;
    case 13: return shape;
    case 14: return row == 5;
    default: return false;
    }
}

f64 error_of(int row, f32 got, const support::exact_statistics& exact) {
    const wide& truth = exact.row[row - 1];
    const f32 nearest = static_cast<f32>(truth);
    if (std::isinf(nearest)) return got == nearest ? 0.0 : static_cast<f64>(inf32);
    f64 at_least = 0.0;
    if (row == 4 || row == 5) at_least = 1.0;
    if (row == 11 || row == 12) at_least = std::abs(static_cast<f64>(exact.row[0])) * 1e-4;
    return support::ulps_between(got, truth, at_least);
}

std::vector<measured_errors> univariate_errors() {
    // clang-format off
    static const char* const meaning[] = {
        "mean", "variance", "standard deviation", "skewness", "excess", "minimum", "maximum",
        "range", "coefficient of variation", "count", "lower limit of the mean",
        "upper limit of the mean", "lower limit of the variance", "upper limit of the variance"};
    // clang-format on
    std::vector<measured_errors> rows;
    for (int row = 1; row <= 14; ++row) {
        const std::string name = "`UVSTA` row " + std::to_string(row) + ", " + meaning[row - 1];
        rows.push_back({name, row == 1 ? 0.5 : 2.0, {}});
    }

    const auto judge = [&](const sample& given, f32 level) {
        const outcome got = statistics(given.x, level, level);
        const auto exact = support::statistics_of(given.x, level);
        for (int row = 1; row <= 14; ++row)
            if (!is_guarded(row, got.code))
                rows[static_cast<std::size_t>(row - 1)].errors.add(
                    error_of(row, got.row(row), exact),
                    [&] { return given.name + ", level " + shortest(level); });
    };
    for (const sample& given : unkind_data())
        if (support::whole_sample || given.x.size() < 5000) judge(given, 95.0F);
    constexpr f32 levels[] = {95.0F, 99.9F, 50.0F, 95.0F, 1.0F};
    const std::vector<sample> sets = small_sets(7000);
    for (std::size_t k = 0; k < sets.size(); ++k)
        if (takes_sample(static_cast<long>(k))) judge(sets[k], levels[k % std::size(levels)]);
    return rows;
}

// ---- Quantiles ----------------------------------------------------------------------------------

template <class... Values> auto arguments(const char* names, Values... values) {
    return [=] {
        std::string text = names;
        ((text += (text == names ? " " : ", ") + shortest(values)), ...);
        return text;
    };
}

// Every 4096th f32 below the given one, and all near its ends and its middle.
template <class Act> void for_f32_below(f32 end, Act act) {
    constexpr i32 stride = 4096;
    const i32 last = std::bit_cast<i32>(end) - 1;
    const i32 middle = std::bit_cast<i32>(end / 2);
    for (i32 bits = 1; bits <= last - stride; bits += stride)
        if (takes_sample(bits / stride)) act(std::bit_cast<f32>(bits));
    for (i32 k = 0; k < 2000; ++k)
        if (takes_sample(k))
            for (const i32 bits : {1 + k, last - k, middle - 1 - k, middle + 1 + k})
                act(std::bit_cast<f32>(bits));
}

// Every f32 below the given one is an argument. Of neighbours with one and the same result only the first
// and the last are judged: the exact function is monotonic, so the errors between lie between theirs.
template <class Judge> void for_every_f32_below(f32 end, f32 (*routine)(const f32&), Judge judge) {
    const i32 last = std::bit_cast<i32>(end) - 1;
    f32 x_before = std::bit_cast<f32>(i32{1}), y_before = routine(x_before);
    judge(x_before, y_before);
    for (i32 bits = 2; bits <= last; ++bits) {
        const f32 x = std::bit_cast<f32>(bits), y = routine(x);
        if (y != y_before) {
            judge(x_before, y_before);
            judge(x, y);
        }
        x_before = x, y_before = y;
    }
    judge(x_before, y_before);
}

constexpr f64 single_bound = 0.501; // f32 forms are rounded once

void add_erfci_error(measured_errors& row, f32 x, f32 y) {
    if (x != 1.0F)
        row.errors.add(in_last_places(support::inverse_erfc_error(f64{y}, f64{x}), y),
                       arguments("X =", x));
}

measured_errors erfci_errors() {
    measured_errors row{"`ERFCI`", single_bound, {}};
    for_f32_below(2.0F, [&](f32 x) { add_erfci_error(row, x, ERFCI(x)); });
    return row;
}

void add_normal_error(measured_errors& row, auto p, auto x) {
    if (p != 0.5)
        row.errors.add(in_last_places(support::normal_error(x, p), x), arguments("P =", p));
}

measured_errors anorin_errors() {
    measured_errors row{"`ANORIN`", single_bound, {}};
    for_f32_below(1.0F, [&](f32 p) { add_normal_error(row, p, ANORIN(p)); });
    return row;
}

std::vector<measured_errors> normal_errors() {
    measured_errors twice{"`DNORIN`", 4, {}};
    for (const f64 p : support::probabilities()) add_normal_error(twice, p, DNORIN(p));
    for (f64 p = 0.49; p > 1e-320; p *= 0.83) add_normal_error(twice, p, DNORIN(p));
    return {erfci_errors(), anorin_errors(), twice};
}

// A quantile with degrees of freedom, in both widths: the f32 one at random arguments, the f64 one at
// lists of hard arguments, at random ones and at those where it was once off most.
struct quantile_family {
    const char *single_name, *twice_name;
    f32 (*single)(const f32&, const f32&);
    f64 (*twice)(const f64&, const f64&);
    f64 (*error)(f64 quantile, f64 p, f64 df);
    f64 least_df, least_quantile; // below, digits are lost to underflow
    std::vector<std::pair<f64, f64>> once_bad;
};

std::vector<measured_errors> errors_of(const quantile_family& family) {
    measured_errors single{family.single_name, single_bound, {}}, twice{family.twice_name, 20, {}};
    long number = 0;
    const auto check = [&](measured_errors& row, const auto& quantile_at, auto p, auto df) {
        if (!takes_sample(number++)) return;
        const auto x = quantile_at(p, df);
        using limits = std::numeric_limits<decltype(x)>;
        if (p != 0.5 && std::fabs(x) >= std::max<f64>(limits::min(), family.least_quantile) &&
            std::isfinite(x))
            row.errors.add(in_last_places(family.error(x, p, df), x), arguments("P, DF =", p, df));
    };
    support::random_arguments random;
    for (int k = 0; k < 1000; ++k) {
        const f32 p = random.probability();
        check(single, family.single, p, static_cast<f32>(random.log_uniform(family.least_df, 1e7)));
        check(twice, family.twice, f64{p},
              random.log_uniform(family.least_df, k % 2 == 0 ? 30 : 1e7));
    }
    for (const f64 df : support::degrees_of_freedom)
        for (const f64 p : support::probabilities()) check(twice, family.twice, p, df);
    for (const f64 p : support::probabilities()) check(twice, family.twice, p, family.least_df);
    for (const auto& [p, df] : family.once_bad) check(twice, family.twice, p, df);
    return {single, twice};
}

// clang-format off
const quantile_family student = {
    "`TIN`", "`DTIN`", TIN, DTIN, support::student_error, 1.0, 0.0,
    {{0.05, 29.5}, {0.24538364206686822, 8.1959371329552031}}};
const quantile_family chi_squared = {
    "`CHIIN`", "`DCHIIN`", CHIIN, DCHIIN, support::chi_squared_error, 0.5, 1e-300,
    {{0.9282862342104018, 0.5115907991476077}, {0.9183, 0.5203}, {0.23525786075296656, 0.88605972365989039}}};
// clang-format on

// ---- Incomplete beta ratio ----------------------------------------------------------------------

struct beta_judge {
    measured_errors& row;
    long number = 0;

    void operator()(f64 x, f64 a, f64 b) {
        if (!takes_sample(number++)) return;
        const f64 value = DBETAI(x, a, b);
        if (value >= 1e-300)
            row.errors.add(in_last_places(support::beta_error(value, x, a, b), value),
                           arguments("X, PIN, QIN =", x, a, b));
    }
};

std::vector<measured_errors> beta_errors() {
    measured_errors tests{"`DBETAI`, t and F tests", 40, {}};
    beta_judge judge{tests};
    for (const f64 dfn : {1.0, 2.0, 3.0, 5.0, 10.0, 50.0, 399.0, 401.0, 1e3, 1e5, 1e7})
        for (const f64 dfd : support::degrees_of_freedom)
            for (const f64 f :
                 {1e-10, 1e-5, 0.01, 0.1, 0.5, 0.9, 0.99, 0.9999, 1.0,   1.0001, 1.01,
                  1.1,   1.5,  2.0,  3.0, 4.0, 7.0, 10.0, 30.0,   100.0, 1000.0, 1e5}) {
                const f64 x = dfd / (dfd + dfn * f);
                judge(x, 0.5 * dfd, 0.5 * dfn);
                judge(1.0 - x, 0.5 * dfd, 0.5 * dfn);
            }
    // Just past the mean, where the fraction from the wrong side begins with a denominator near 0.
    judge(0.99997665560511395, 150102.65925917885, 2.505543420740949);
    judge(0.988892453936254, 851040.1871914077, 6975.542618334273); // in the far tail
    support::random_arguments random;
    for (int k = 0; k < 3000; ++k) {
        const f64 a = random.log_uniform(0.5, k % 3 == 0 ? 5e6 : 1e5);
        const f64 b = k % 2 == 0 ? random.log_uniform(0.5, 5e6) : 0.5 * (1 + k % 40);
        const f64 near_mean = 1.0 + random.uniform(-8, 8) * std::sqrt(1.0 / a + 1.0 / b);
        const f64 f = k % 4 == 0 ? std::fmax(near_mean, 1e-3) : random.log_uniform(1e-5, 1e5);
        judge(a / (a + b * f), a, b);
    }

    measured_errors anywhere{"`DBETAI`, shapes from 0.001 to 1e8", 4500, {}};
    beta_judge judge_anywhere{anywhere};
    for (int k = 0; k < 2500; ++k) {
        const f64 a = random.log_uniform(1e-3, 1e8);
        const f64 b = random.log_uniform(1e-3, 1e8);
        const f64 mean = a / (a + b);
        const f64 spread = std::sqrt(mean * (1.0 - mean) / (a + b + 1.0));
        const f64 near_mean = mean + random.uniform(-9, 9) * spread;
        judge_anywhere(k % 2 == 0 ? random.uniform(0.0, 1.0) : std::clamp(near_mean, 0.0, 1.0), a,
                       b);
    }
    // Where the complement is nearly all of it.
    judge_anywhere(0.99999988356282143, 17491.874003706878, 0.0010218366234767452);
    judge_anywhere(0.9999999898656119, 1.4173228452383198, 0.4402392141538197);
    judge_anywhere(0.99999996129320246, 22749938.718589716, 0.0013447152639955329);
    return {tests, anywhere};
}

// ---- The tables ---------------------------------------------------------------------------------

void expect_true(const measured_errors& measured, const std::vector<std::string>& cells) {
    ASSERT_EQ(cells.size(), 6U) << "cells of " << measured.name;
    const error_tally& errors = measured.errors;
    EXPECT_EQ(cells[1], shortest(measured.promised)) << measured.name;
    EXPECT_LE(errors.worst(), measured.promised) << measured.name << " at " << errors.place();
    const f64 worst = std::stod(cells[2]);
    EXPECT_LE(errors.worst(), worst) << measured.name << " at " << errors.place();
    EXPECT_GT(errors.samples(), 10) << measured.name;
    if (!support::whole_sample) return;
    constexpr f64 loosest = 1.25;
    constexpr f64 decimal = 0.001;
    EXPECT_LE(worst, loosest * errors.worst() + decimal) << measured.name << " is better than that";
    EXPECT_NEAR(std::stod(cells[3]), errors.mean(), (loosest - 1) * errors.mean() + decimal)
        << measured.name;
    EXPECT_EQ(cells[5], std::to_string(errors.samples())) << measured.name;
}

TEST(AccuracyTable, StatesWhatIsMeasured) {
    const auto table = support::read_tables(document);
    std::size_t rows = 0;
    for (const auto& family : {univariate_errors(), normal_errors(), errors_of(student),
                               errors_of(chi_squared), beta_errors()})
        for (const measured_errors& measured : family) {
            std::cout << support::markdown_row(measured) << '\n';
            const auto stated = table.find(measured.name);
            if (stated == table.end())
                ADD_FAILURE() << "docs/accuracy.md has no row for " << measured.name;
            else
                expect_true(measured, stated->second);
            ++rows;
        }
    const auto routines = std::count_if(table.begin(), table.end(),
                                        [](const auto& row) { return row.first.starts_with('`'); });
    EXPECT_EQ(static_cast<std::size_t>(routines), rows) << "rows that nothing measures";
}

// Every argument that f32 has:
//   test_numeric --gtest_also_run_disabled_tests --gtest_filter='*EveryF32*'
void expect_promise(const measured_errors& measured) {
    std::cout << support::markdown_row(measured) << '\n';
    EXPECT_LE(measured.errors.worst(), measured.promised) << measured.errors.place();
}
TEST(AccuracyTable, DISABLED_HoldsForEveryF32Probability) {
    measured_errors row{"`ANORIN`", single_bound, {}};
    for_every_f32_below(1.0F, ANORIN, [&](f32 p, f32 x) { add_normal_error(row, p, x); });
    expect_promise(row);
}
TEST(AccuracyTable, DISABLED_HoldsForEveryF32ArgumentOfErfci) {
    measured_errors row{"`ERFCI`", single_bound, {}};
    for_every_f32_below(2.0F, ERFCI, [&](f32 x, f32 y) { add_erfci_error(row, x, y); });
    expect_promise(row);
}

// ---- Certified sets -----------------------------------------------------------------------------

std::string matching_digits(f32 got, f64 certified) {
    if (f64{got} == certified) return "all";
    const f64 error = std::abs(f64{got} - certified) / std::abs(certified);
    char text[16];
    std::snprintf(text, sizeof text, "%.1f", -std::log10(error));
    return text;
}

TEST(AccuracyTable, StatesTheDigitsOfCertifiedSets) {
    if (!support::has_certified_sets()) GTEST_SKIP() << "QMX_IC_DATA is not set";
    const auto table = support::read_tables(document);
    for (const std::string name : {"Lew", "Lottery", "NumAcc1"}) {
        const support::certified_set set = support::read_certified(name);
        const f64 mean = set.after("ybar:").at(0), deviation = set.after(" s:").at(0);
        std::vector<f32> x;
        for (const auto& row : set.rows) x.push_back(static_cast<f32>(row[0]));
        ASSERT_GT(x.size(), 2U) << name;
        const outcome got = statistics(x);
        EXPECT_EQ(got.row(1), static_cast<f32>(mean)) << name;
        EXPECT_EQ(got.row(3), static_cast<f32>(deviation)) << name;
        const std::vector<std::string> cells = {name, std::to_string(x.size()),
                                                matching_digits(got.row(1), mean),
                                                matching_digits(got.row(3), deviation)};
        for (const std::string& cell : cells) std::cout << "| " << cell << ' ';
        std::cout << "|\n";
        const auto stated = table.find(name);
        EXPECT_EQ(stated == table.end() ? std::vector<std::string>() : stated->second, cells);
    }
}

} // namespace
