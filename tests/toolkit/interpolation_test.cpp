#include "support/expect_event.hpp"
#include "toolkit/interpolation.hpp"

using namespace qmx;

namespace {

f32 at(const std::vector<f32>& y, const std::vector<f32>& x, f32 query,
       const i32* outside = nullptr) {
    f32 result = -99;
    clear_event();
    linr_intpol_s(support::view(y), support::view(x), view_of<const f32>(&query, 1),
                  view_of(&result, 1), outside);
    return result;
}

TEST(Interpolation, FollowsTheRulesInsideAndOutsideTheTable) {
    const std::vector<f32> x = {0, 10, 20, 40};
    const std::vector<f32> y = {5, 6, 8, 2};
    const i32 zero = 1, hold = 2;
    struct {
        const char* name;
        f32 query;
        const i32* outside;
        f32 expected;
    } const rows[] = {{"first point", 0, &zero, 5},
                      {"last point", 40, &zero, 2},
                      {"middle of a step", 5, nullptr, 5.5F},
                      {"a falling step", 30, nullptr, 5},
                      {"a table point", 20, nullptr, 8},
                      {"within the tolerance above a point", 10 + 9e-6F, nullptr, 6},
                      {"below, held", -1, &hold, 5},
                      {"below, absent flag", -1, nullptr, 5},
                      {"below, zeroed", -1, &zero, 0},
                      {"above, held", 41, &hold, 2},
                      {"above, zeroed", 41, &zero, 0},
                      {"not a number lies below", nan32, &hold, 5},
                      {"not a number, zeroed", nan32, &zero, 0}};
    for (const auto& row : rows)
        EXPECT_EQ(at(y, x, row.query, row.outside), row.expected) << row.name;
}

TEST(Interpolation, RepeatedAbscissasNeverDivideByZero) {
    EXPECT_EQ(at({1, 2, 3}, {0, 0, 1}, 0), 2) << "the later of the first two";
    EXPECT_EQ(at({1, 2, 3, 4}, {0, 1, 1, 2}, 1), 2) << "the walk stops at the first match";
    EXPECT_EQ(at({7, 8, 9}, {100, 100, 100}, 100), 8);
}

TEST(Interpolation, ATableThatEndsInNoNumberHasNoStepThere) {
    EXPECT_EQ(at({1, 2, 3}, {0, 1, nan32}, 0.5F), 1.5F);
    EXPECT_EQ(at({1, 2, 3}, {0, 1, nan32}, 1.5F), 0);
    EXPECT_EQ(at({1, 2}, {0, nan32}, 7), 0);
}

TEST(Interpolation, OrderIsNotChecked) {
    EXPECT_EQ(at({1, 2, 3, 4}, {0, 5, 3, 9}, 4), 1 + (1.0F / 5.0F) * 4)
        << "the walk ends at the first abscissa above the query";
}

TEST(Interpolation, ShortTablesFailWithTheirNameAndStartThePathAnew) {
    const f32 table[5] = {}, queries[2] = {1, 2};
    const f64 wide[2] = {};
    const auto fails = [&](i64 ordinates, i64 abscissas, std::string_view message) {
        f32 results[2] = {9, 9};
        fail_here(routine_text("before"), "old");
        EXPECT_EQ(linr_intpol_s(view_of(table, ordinates), view_of(table, abscissas),
                                view_of(queries, 2), view_of(results, 2)),
                  3);
        support::expect_event(message, "linr_intpol_s");
        EXPECT_EQ(results[0] + results[1], 0) << "a failed call leaves zeros";
    };
    fails(1, 5, "x_y size is not correct");
    fails(0, 0, "x_y size is not correct");
    fails(2, 1, "x_x size is not correct");
    EXPECT_EQ(linr_intpol(view_of(wide, 1), view_of(wide, 2), {}, {}), 3);
    support::expect_event("d_y size is not correct", "linr_intpol");
    EXPECT_EQ(linr_intpol(view_of(wide, 2), view_of(wide, 1), {}, {}), 3);
    support::expect_event("d_x size is not correct", "linr_intpol");
}

TEST(Interpolation, TwinUsesTheToleranceOfItsWidth) {
    const f64 x[] = {0, 1, 2}, y[] = {0, 10, 30}, at[] = {1 + 1e-14, 1 + 1e-13, 1.5};
    f64 results[3];
    EXPECT_EQ(linr_intpol(view_of(y, 3), view_of(x, 3), view_of(at, 3), view_of(results, 3)), 1);
    EXPECT_EQ(results[0], 10.0);
    EXPECT_GT(results[1], 10.0);
    EXPECT_EQ(results[2], 20.0);
}

} // namespace
