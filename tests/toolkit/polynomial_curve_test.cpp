// Curves through data: what wins among failures, what is left behind, and the curve itself. With
// them the wrappers of sorting and searching.
#include "base/elementary_functions.hpp"
#include "support/expect_event.hpp"
#include "toolkit/polynomial_curve.hpp"
#include "toolkit/sort_wrappers.hpp"

#include <optional>

using namespace qmx;
using support::view;

namespace {

using reals = std::vector<f64>;

constexpr f64 untouched = -77.0;

struct curve_call {
    reals xcurve = reals(5, untouched), ycurve = reals(5, untouched);
    reals coefficients = reals(12, untouched), statistics = reals(10, untouched);
    i32 outcome = 0;

    curve_call(const reals& x, const reals& y, std::optional<i32> degree, f64 lower = -1e300,
               f64 upper = 1e300) {
        clear_event();
        const array_view<f64> coef = view(coefficients), stat = view(statistics);
        outcome = polycurvfit(view(x), view(y), view(xcurve), view(ycurve), &lower, &upper,
                              degree ? &*degree : nullptr, &coef, &stat);
    }
};

const reals bent_x = {0, 1, 2, 4, 8};
const reals bent_y = {1, 4, 3, 6, 2};

enum results { untouched_results, zeros, fit };

struct failure {
    std::string_view message, path;
    i32 code;
};
constexpr failure one_point = {"cannot do curve with one point", "/polycurvfit", 101};
constexpr failure too_high = {"degrees of polynomial exceeds 9", "/polycurvfit", 102};
constexpr failure holds_nan = {"x or y data contains NaN", "/polycurvfit", 102};
constexpr failure refused = {"error calling imsl drcurv", "polycurvfit/polycurvfit", 101};

struct failure_case {
    const char* name;
    reals x, y;
    std::optional<i32> degree;
    failure expected;
    results left;
};
const failure_case failure_cases[] = {
    {"one point", {1}, {2}, {}, one_point, untouched_results},
    {"degree 10", bent_x, bent_y, 10, too_high, untouched_results},
    {"degree 10 before nan", {1, nan64, 3}, {1, 2, 3}, 10, too_high, untouched_results},
    {"degree beyond memory", bent_x, bent_y, 2147483647, too_high, untouched_results},
    {"nan abscissa", {0, 1, 2, nan64, 8}, bent_y, 2, holds_nan, fit},
    {"nan before constant ordinates", {0, 1, 2, 3}, {5, 5, nan64, 5}, 1, holds_nan, fit},
    {"every pair nan", {nan64, 2}, {1, nan64}, 1, refused, zeros},
    {"constant abscissas", {2, 2, 2}, {1, 2, 3}, 1, refused, zeros},
    {"constant ordinates", {1, 2, 3}, {4, 4, 4}, 1, refused, fit},
    {"constant ordinates, degree 0", {1, 2, 3}, {4, 4, 4}, 0, refused, fit},
    {"too few abscissas", {1, 1, 2, 2}, {1, 2, 3, 5}, 2, refused, fit},
    {"perfect below the degree", {1, 2, 3}, {2, 3, 4}, 2, refused, fit}};
TEST(PolynomialCurve, FailsInItsOrderAndLeavesWhatItSays) {
    for (const auto& c : failure_cases) {
        SCOPED_TRACE(c.name);
        const curve_call got(c.x, c.y, c.degree);
        EXPECT_EQ(got.outcome, 3);
        support::expect_event(c.expected.message, c.expected.path, c.expected.code);
        EXPECT_EQ(got.xcurve, reals(5, untouched));
        EXPECT_EQ(got.ycurve, reals(5, 0.0));
        if (c.left == untouched_results) {
            EXPECT_EQ(got.coefficients, reals(12, untouched));
            EXPECT_EQ(got.statistics, reals(10, untouched));
        } else {
            EXPECT_EQ(got.statistics[7] != 0.0, c.left == fit); // degrees of freedom
            EXPECT_EQ(got.coefficients[0] == 0.0, c.left == zeros);
            EXPECT_EQ(got.coefficients[static_cast<std::size_t>(*c.degree) + 1], untouched);
        }
    }
}

TEST(PolynomialCurve, KeepsThePathThatStoodBeforeIt) {
    clear_event();
    current_event.c_subfunc.assign("before");
    const i32 degree = 11;
    f64 y = 1;
    polycurvfit(view_of(bent_x.data(), 5), view_of(bent_y.data(), 5), {}, view_of(&y, 1), nullptr,
                nullptr, &degree);
    EXPECT_EQ(current_event.c_subfunc.trimmed(), "before/polycurvfit");
}

TEST(PolynomialCurve, FillsAnEvenGridAndSumsPowersUpwards) {
    const curve_call got(bent_x, bent_y, 3, 2.0, 4.5);
    ASSERT_EQ(got.outcome, 1);
    EXPECT_FALSE(has_failed());
    for (std::size_t i = 0; i < 5; ++i) {
        const f64 x = static_cast<f64>(i) * (8.0 / 4) + 0.0;
        EXPECT_EQ(got.xcurve[i], x);
        f64 y = 0;
        for (std::size_t k = 0; k <= 3; ++k)
            y += got.coefficients[k] * whole_power(x, static_cast<i32>(k));
        EXPECT_EQ(got.ycurve[i], std::min(std::max(y, 2.0), 4.5));
    }
    EXPECT_EQ(got.statistics[0], 3.0);
    EXPECT_EQ(got.coefficients[4], untouched);
}

TEST(PolynomialCurve, ChoosesItsDegreeByTheNumberOfPoints) {
    using pair = std::pair<int, std::size_t>;
    for (const auto& [points, degree] : {pair{2, 1}, {3, 1}, {4, 2}, {10, 8}, {11, 8}, {40, 8}}) {
        reals x, y;
        for (int i = 0; i < points; ++i) {
            x.push_back(i);
            y.push_back(i * i * 7 % 5);
        }
        const curve_call got(x, y, {});
        EXPECT_EQ(got.outcome, 1) << points;
        EXPECT_EQ(got.coefficients[degree + 1], untouched) << points;
        EXPECT_NE(got.coefficients[degree], untouched) << points;
    }
}

TEST(PolynomialCurve, IsTheSameForDataHeldInF32) {
    const std::vector<f32> x = {0.1F, 1, 2, 4, 8.7F, 3};
    const std::vector<f32> y = {1, 4, 3, 6.3F, 2, -1};
    for (const i64 points : {0, 1, 2, 6})
        for (i32 degree = -1; degree <= 10; ++degree) {
            SCOPED_TRACE(degree);
            const reals wide_x(x.begin(), x.begin() + points);
            const reals wide_y(y.begin(), y.begin() + points);
            const curve_call wide(wide_x, wide_y, degree);
            reals xcurve(5, untouched), ycurve(5, untouched);
            clear_event();
            const f64 lower = -1e300, upper = 1e300;
            EXPECT_EQ(polycurvfit(view_of(x.data(), points), view_of(y.data(), points),
                                  view_of(xcurve.data(), 5), view_of(ycurve.data(), 5), &lower,
                                  &upper, &degree),
                      wide.outcome);
            EXPECT_EQ(std::memcmp(xcurve.data(), wide.xcurve.data(), 5 * sizeof(f64)), 0);
            EXPECT_EQ(std::memcmp(ycurve.data(), wide.ycurve.data(), 5 * sizeof(f64)), 0);
        }
}

// Nothing to fit is no failure: a polynomial of zeros, or of no terms at all.
TEST(PolynomialCurve, EvaluatesZerosWhereThereIsNothingToFit) {
    const curve_call one({3}, {5}, 2, 0.5);
    EXPECT_EQ(one.outcome, 1);
    EXPECT_EQ(one.xcurve, reals(5, 3.0));
    EXPECT_EQ(one.ycurve, reals(5, 0.5));
    EXPECT_EQ(one.statistics, reals(10, 0.0));

    const curve_call negative(bent_x, bent_y, -4);
    EXPECT_EQ(negative.outcome, 1);
    EXPECT_EQ(negative.xcurve[4], 8.0);
    EXPECT_EQ(negative.ycurve, reals(5, 0.0));
    EXPECT_EQ(negative.coefficients, reals(12, untouched));

    for (const std::size_t missing : {0U, 2U, 4U}) { // passed over, wherever it stands
        reals x = bent_x;
        x[missing] = nan64;
        const curve_call holed(x, bent_y, -1);
        EXPECT_EQ(holed.outcome, 1);
        EXPECT_EQ(holed.xcurve[0], missing == 0 ? 1.0 : 0.0);
        EXPECT_EQ(holed.xcurve[4], missing == 4 ? 4.0 : 8.0);
        EXPECT_EQ(holed.ycurve, reals(5, 0.0));
    }

    const curve_call none({}, {}, 1, -10.0);
    EXPECT_EQ(none.outcome, 1);
    EXPECT_TRUE(std::isnan(none.xcurve[0]) && std::isinf(none.xcurve[4]));
    EXPECT_TRUE(std::isnan(none.ycurve[0])); // no clamp makes a number of it
}

TEST(PolynomialCurve, HasNoSpacingForASinglePoint) {
    f64 x = 0, y = 0;
    clear_event();
    EXPECT_EQ(polycurvfit(view_of(bent_x.data(), 5), view_of(bent_y.data(), 5), view_of(&x, 1),
                          view_of(&y, 1)),
              1);
    EXPECT_TRUE(std::isnan(x) && std::isnan(y));
}

TEST(PolynomialCurve, AcceptsAPerfectFitOfTheDegreeAskedFor) {
    const curve_call got({0, 1, 2}, {1, 3, 5}, 1);
    EXPECT_EQ(got.outcome, 1);
    EXPECT_EQ(got.ycurve, (reals{1, 2, 3, 4, 5}));
}

TEST(SortWrappers, SortAndFillThePermutation) {
    clear_event();
    std::vector<i32> sorted(3, -1), permutation(3, -1);
    EXPECT_EQ(imsl_svigp(view(std::vector<i32>{3, 1, 2}), view(sorted), view(permutation)), 1);
    EXPECT_EQ(sorted, (std::vector<i32>{1, 2, 3}));
    EXPECT_EQ(permutation, (std::vector<i32>{2, 3, 1}));
    EXPECT_EQ(imsl_svigp({}, {}, view(permutation)), 1);
    EXPECT_EQ(permutation[0], 2) << "left alone";

    const i32 ascending[] = {10, 20, 30};
    i32 index = 0;
    EXPECT_EQ(imsl_isrch(20, view_of(ascending, 3), index), 1);
    EXPECT_EQ(index, 2);
    EXPECT_EQ(imsl_isrch(25, view_of(ascending, 3), index), 1);
    EXPECT_EQ(index, -3);
    EXPECT_EQ(imsl_isrch(25, {}, index), 1);
    EXPECT_EQ(index, -1);
    EXPECT_FALSE(has_failed());
}

} // namespace
