// Curves through data: what wins among failures, what is left behind, and the curve itself. With
// them the wrappers of sorting and searching.
#include "events/event.hpp"
#include "toolkit/polynomial_curve.hpp"
#include "toolkit/sort_wrappers.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <optional>
#include <string>
#include <vector>

using namespace qmx;

namespace {

using reals = std::vector<f64>;

constexpr f64 nan64 = std::numeric_limits<f64>::quiet_NaN();
constexpr f64 untouched = -77.0;

struct curve_call {
    reals xcurve = reals(5, untouched), ycurve = reals(5, untouched);
    reals coefficients = reals(12, untouched), statistics = reals(10, untouched);
    i32 outcome = 0;

    curve_call(const reals& x, const reals& y, std::optional<i32> degree, f64 lower = -1e300,
               f64 upper = 1e300) {
        clear_event();
        const auto of = [](reals& v) { return view_of(v.data(), std::ssize(v)); };
        const array_view<f64> coef = of(coefficients);
        const array_view<f64> stat = of(statistics);
        outcome = polycurvfit(view_of(x.data(), std::ssize(x)), view_of(y.data(), std::ssize(y)),
                              of(xcurve), of(ycurve), &lower, &upper, degree ? &*degree : nullptr,
                              &coef, &stat);
    }
};

const reals bent_x = {0, 1, 2, 4, 8};
const reals bent_y = {1, 4, 3, 6, 2};

enum class kept { nothing, zeros, fit };

struct failure_case {
    const char* name;
    reals x, y;
    std::optional<i32> degree;
    const char* message;
    i32 code;
    const char* path;
    kept results;
};
constexpr const char* short_path = "/polycurvfit";
constexpr const char* double_path = "polycurvfit/polycurvfit";
constexpr const char* refused = "error calling imsl drcurv";
constexpr const char* holds_nan = "x or y data contains NaN";
const failure_case failure_cases[] = {
    {"one_point", {1}, {2}, {}, "cannot do curve with one point", 101, short_path, kept::nothing},
    {"degree_10", bent_x, bent_y, 10, "degrees of polynomial exceeds 9", 102, short_path,
     kept::nothing},
    {"degree_10_before_nan",
     {1, nan64, 3},
     {1, 2, 3},
     10,
     "degrees of polynomial exceeds 9",
     102,
     short_path,
     kept::nothing},
    {"degree_beyond_memory", bent_x, bent_y, 2147483647, "degrees of polynomial exceeds 9", 102,
     short_path, kept::nothing},
    {"nan_abscissa", {0, 1, 2, nan64, 8}, bent_y, 2, holds_nan, 102, short_path, kept::fit},
    {"nan_before_constant_ordinates",
     {0, 1, 2, 3},
     {5, 5, nan64, 5},
     1,
     holds_nan,
     102,
     short_path,
     kept::fit},
    {"every_pair_nan", {nan64, 2}, {1, nan64}, 1, refused, 101, double_path, kept::zeros},
    {"constant_abscissas", {2, 2, 2}, {1, 2, 3}, 1, refused, 101, double_path, kept::zeros},
    {"constant_ordinates", {1, 2, 3}, {4, 4, 4}, 1, refused, 101, double_path, kept::fit},
    {"constant_ordinates_degree_0", {1, 2, 3}, {4, 4, 4}, 0, refused, 101, double_path, kept::fit},
    {"too_few_abscissas", {1, 1, 2, 2}, {1, 2, 3, 5}, 2, refused, 101, double_path, kept::fit},
    {"perfect_below_degree", {1, 2, 3}, {2, 3, 4}, 2, refused, 101, double_path, kept::fit},
};
TEST(PolynomialCurve, FailsInItsOrderAndLeavesWhatItSays) {
    for (const auto& c : failure_cases) {
        SCOPED_TRACE(c.name);
        const curve_call got(c.x, c.y, c.degree);
        EXPECT_EQ(got.outcome, 3);
        EXPECT_EQ(current_event.c_description.trimmed(), c.message);
        EXPECT_EQ(current_event.c_subfunc.trimmed(), c.path);
        EXPECT_EQ(current_event.i_errcode, c.code);
        EXPECT_TRUE(has_failed());
        EXPECT_EQ(got.xcurve, reals(5, untouched));
        EXPECT_EQ(got.ycurve, reals(5, 0.0));
        if (c.results == kept::nothing) {
            EXPECT_EQ(got.coefficients, reals(12, untouched));
            EXPECT_EQ(got.statistics, reals(10, untouched));
        } else {
            EXPECT_EQ(got.statistics[7] != 0.0, c.results == kept::fit); // degrees of freedom
            EXPECT_EQ(got.coefficients[0] == 0.0, c.results == kept::zeros);
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
            y += got.coefficients[k] * std::pow(x, static_cast<f64>(k));
        EXPECT_EQ(got.ycurve[i], std::min(std::max(y, 2.0), 4.5));
    }
    EXPECT_EQ(got.statistics[0], 3.0);
    EXPECT_EQ(got.coefficients[4], untouched);
}

struct chosen_case {
    i64 points;
    i32 degree;
};
TEST(PolynomialCurve, ChoosesItsDegreeByTheNumberOfPoints) {
    for (const chosen_case c : {chosen_case{2, 1}, {3, 1}, {4, 2}, {10, 8}, {11, 8}, {40, 8}}) {
        reals x, y;
        for (i64 i = 0; i < c.points; ++i) {
            x.push_back(static_cast<f64>(i));
            y.push_back(std::fmod(static_cast<f64>(i * i * 7), 5.0));
        }
        const curve_call got(x, y, {});
        EXPECT_EQ(got.outcome, 1) << c.points;
        EXPECT_EQ(got.coefficients[static_cast<std::size_t>(c.degree) + 1], untouched) << c.points;
        EXPECT_NE(got.coefficients[static_cast<std::size_t>(c.degree)], untouched) << c.points;
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

TEST(SortWrappers, SortStridedViewsAndFillThePermutation) {
    const std::vector<i32> keys = {3, 0, 1, 0, 2, 0};
    std::vector<i32> sorted(6, -1), permutation(6, -1);
    const auto every_second = [](auto& v) {
        return array_view(v.data(), 3, 2 * static_cast<std::ptrdiff_t>(sizeof v[0]));
    };
    EXPECT_EQ(imsl_svigp(every_second(keys), every_second(sorted), every_second(permutation)), 1);
    EXPECT_EQ(sorted, (std::vector<i32>{1, -1, 2, -1, 3, -1}));
    EXPECT_EQ(permutation, (std::vector<i32>{2, -1, 3, -1, 1, -1}));

    const std::vector<f32> reals32 = {2.5F, -1.0F};
    std::vector<f32> ascending(2);
    EXPECT_EQ(imsl_SVRGP(view_of(reals32.data(), 2), view_of(ascending.data(), 2),
                         view_of(permutation.data(), 2)),
              1);
    EXPECT_EQ(ascending, (std::vector<f32>{-1.0F, 2.5F}));
    EXPECT_EQ(permutation[0], 2);
}

TEST(SortWrappers, LeaveEmptyViewsAloneAndFindPositions) {
    clear_event();
    i32 permutation = -1;
    EXPECT_EQ(imsl_svigp({}, {}, view_of(&permutation, 1)), 1);
    EXPECT_EQ(permutation, -1);

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
