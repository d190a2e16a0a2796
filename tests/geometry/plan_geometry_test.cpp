#include "geometry/plan_geometry.hpp"

#include "events/unit_table.hpp"
#include "support/scratch_folder.hpp"

#include <numeric>

using namespace qmx;

namespace {

constexpr i32 least = std::numeric_limits<i32>::min(), greatest = std::numeric_limits<i32>::max();

using outline = std::vector<f64>; // x1, y1, x2, y2, ...

const outline unit_square{0, 0, 1, 0, 1, 1, 0, 1};
const outline figure_eight{0, 0, 4, 0, 4, 2, 2, 2, 2, -2, 0, -2}; // crosses itself at (2, 0)

outline reversed(const outline& v) {
    outline result;
    for (std::size_t i = v.size(); i > 0; i -= 2) result.insert(result.end(), {v[i - 2], v[i - 1]});
    return result;
}

i32 polygon_answer(const outline& v, f64 x, f64 y) {
    const f64 p[2] = {x, y};
    i32 inside = 7;
    POLYGON_CONTAINS_POINT_2D(static_cast<i32>(v.size() / 2), v.data(), p, inside);
    return inside;
}

f64 area_of(const outline& v) {
    f64 area = nan64;
    POLYGON_SIGNED_AREA_2D(static_cast<i32>(v.size() / 2), v.data(), area);
    return area;
}

// The even-odd rule with half-open edges in whole numbers, by cross-multiplication.
bool exact_answer(const std::vector<i64>& v, i64 x, i64 y) {
    bool inside = false;
    const std::size_t n = v.size() / 2;
    for (std::size_t i = 0; i < n; ++i) {
        const std::size_t j = (i + 1) % n;
        const i64 xi = v[2 * i], yi = v[2 * i + 1], xj = v[2 * j], yj = v[2 * j + 1];
        if ((yi < y) == (yj < y)) continue;
        const i64 height = yj - yi;
        const i64 difference = (x - xi) * height - (y - yi) * (xj - xi);
        if (height > 0 ? difference < 0 : difference > 0) inside = !inside;
    }
    return inside;
}

} // namespace

TEST(Circle, RimIsInsideAndNanIsNot) {
    // Of the last both squares overflow alike.
    const struct {
        f64 radius, cx, cy, x, y;
        bool inside;
    } cases[] = {{5, 0, 0, 3, 4, true},
                 {5, 0, 0, 3, 4.0000001, false},
                 {-5, 0, 0, 3, 4, true},
                 {0, 2, 7, 2, 7, true},
                 {0, 2, 7, 2, 7.0000001, false},
                 {nan64, 0, 0, 0, 0, false},
                 {1, nan64, 0, 0, 0, false},
                 {1, 0, 0, 0, nan64, false},
                 {inf64, 0, 0, 9, 9, true},
                 {1, 0, 0, inf64, 0, false},
                 {inf64, inf64, 0, inf64, 0, false},
                 {1e200, 0, 0, 1e200, 0, true}};
    for (const auto& c : cases) {
        const f64 center[2] = {c.cx, c.cy}, p[2] = {c.x, c.y};
        i32 inside = 7;
        CIRCLE_CONTAINS_POINT_2D(c.radius, center, p, inside);
        EXPECT_EQ(inside, c.inside ? truth_true : truth_false)
            << "r " << c.radius << " at " << c.x << ", " << c.y;
    }
}

// The square of x lies 121/256 of a unit in the last place above what it is rounded to. A fused
// multiply-add would add y*y, a sixteenth of a unit, to it before rounding, and round up.
TEST(Circle, SquaresAreRoundedBeforeTheyAreAdded) {
    const f64 x = 1.0 + 11 * 0x1p-30, y = 0x1p-28;
    const f64 center[2] = {0, 0}, p[2] = {x, y};
    i32 inside = 7;
    CIRCLE_CONTAINS_POINT_2D(x, center, p, inside);
    EXPECT_EQ(inside, truth_true);
}

TEST(Polygon, BoundaryRule) {
    using places = std::vector<std::pair<f64, f64>>;
    const places inside = {{0.5, 0.5}, {0, 0.5}, {0.5, 1}, {0, 1}}; // left and top
    const places outside = {{1, 0.5},     {0.5, 0},      {1, 1},      {0, 0},
                            {1, 0},       {-1, 0.5},     {-1, 1},     {nan64, 0.5},
                            {0.5, nan64}, {-inf64, 0.5}, {0.5, inf64}};
    outline closed = unit_square, doubled;
    closed.insert(closed.end(), {0, 0});
    for (std::size_t i = 0; i < unit_square.size(); i += 2)
        for (int twice = 0; twice < 2; ++twice)
            doubled.insert(doubled.end(), {unit_square[i], unit_square[i + 1]});
    for (const outline& v : {unit_square, reversed(unit_square), closed, doubled}) {
        for (const auto& [x, y] : inside) EXPECT_EQ(polygon_answer(v, x, y), truth_true) << x << y;
        for (const auto& [x, y] : outside)
            EXPECT_EQ(polygon_answer(v, x, y), truth_false) << x << y;
    }
}

TEST(Polygon, FewerThanThreeVerticesHoldNothing) {
    i32 inside = 7;
    const f64 p[2] = {0, 0};
    for (const i32 n : {0, -1, least}) {
        POLYGON_CONTAINS_POINT_2D(n, nullptr, p, inside);
        EXPECT_EQ(inside, truth_false);
    }
    for (const f64 x : {-1.0, 0.0, 0.5, 1.0})
        for (const f64 y : {-1.0, 0.0, 0.5, 1.0}) {
            EXPECT_EQ(polygon_answer({0, 0}, x, y), truth_false);
            EXPECT_EQ(polygon_answer({0, 0, 1, 1}, x, y), truth_false);
        }
}

// On a small lattice the rounded quotient never passes an integer: the rule must be exact.
TEST(Polygon, AgreesWithWholeNumbersOnLattices) {
    std::mt19937 random(42);
    for (int round = 0; round < 300; ++round) {
        const int size = 2 + static_cast<int>(random() % 9),
                  n = 3 + static_cast<int>(random() % 12);
        std::vector<i64> exact;
        for (int i = 0; i < 2 * n; ++i)
            exact.push_back(static_cast<i64>(random() % static_cast<unsigned>(size)));
        const outline v(exact.begin(), exact.end());
        for (i64 x = -1; x <= size; ++x)
            for (i64 y = -1; y <= size; ++y) {
                const i32 answer = polygon_answer(v, static_cast<f64>(x), static_cast<f64>(y));
                ASSERT_EQ(answer, exact_answer(exact, x, y) ? truth_true : truth_false);
                ASSERT_EQ(answer,
                          polygon_answer(reversed(v), static_cast<f64>(x), static_cast<f64>(y)));
            }
    }
}

TEST(Area, SignFollowsTheOrientation) {
    const struct {
        const char* what;
        outline v;
        f64 area;
    } cases[] = {{"square", unit_square, 1.0},
                 {"triangle", {0, 0, 6, 0, 0, 4}, 12.0},
                 {"lobes of opposite sense cancel in part", {0, 0, 3, 0, 0, 2, 0, -1, -2, 0}, 2.0},
                 {"figure eight", figure_eight, 0.0},
                 {"two vertices", {0, 3, 1, 7}, 0.0},
                 {"one vertex", {5, 9}, 0.0},
                 {"none", {}, 0.0}};
    for (const auto& c : cases) {
        EXPECT_EQ(area_of(c.v), c.area) << c.what;
        EXPECT_EQ(area_of(reversed(c.v)), -c.area) << c.what;
    }
    f64 area = nan64;
    POLYGON_SIGNED_AREA_2D(-3, nullptr, area);
    EXPECT_EQ(area, 0.0);
}

TEST(Area, EqualsTheCrossProductSumInWholeNumbers) {
    std::mt19937 random(7);
    for (int round = 0; round < 200; ++round) {
        const std::size_t n = 3 + random() % 60;
        outline v;
        for (std::size_t i = 0; i < 2 * n; ++i)
            v.push_back(static_cast<f64>(random() % 20001) - 1e4);
        i64 twice = 0;
        for (std::size_t i = 0; i < n; ++i) {
            const std::size_t j = (i + 1) % n;
            twice += static_cast<i64>(v[2 * i]) * static_cast<i64>(v[2 * j + 1]) -
                     static_cast<i64>(v[2 * j]) * static_cast<i64>(v[2 * i + 1]);
        }
        ASSERT_EQ(area_of(v), 0.5 * static_cast<f64>(twice));
    }
}

// The terms are 2^53, 1, 2^53 and -2: in this order the 1 is lost, and the last term is not.
TEST(Area, IsSummedInTheOrderOfTheVertices) {
    const outline v{0x1p53, 0, 1, 1, -0x1p53, 1, 2, 0};
    EXPECT_EQ(area_of(v), 0.5 * (((0x1p53 + 1.0) + 0x1p53) - 2.0));
    EXPECT_NE(area_of(v), 0.5 * ((0x1p53 + 0x1p53) + (1.0 - 2.0)));
}

TEST(Modulo, IsTheRemainderThatIsNeverNegative) {
    for (const i32 i : {107, -107, -1, 0, 5, 6, -6, least, least + 1, greatest}) {
        for (const i32 j : {50, -50, 9, 3, -3, 1, -1, least, greatest}) {
            const i64 remainder = I4_MODP(i, j);
            EXPECT_TRUE(remainder >= 0 && remainder < std::abs(i64{j})) << i << " by " << j;
            EXPECT_EQ((i - remainder) % j, 0) << i << " by " << j;
        }
        EXPECT_EQ(I4_MODP(i, 0), i);
    }
}

TEST(Modulo, ReportsADivisorOfZeroOnlyWhileMessagesAreOn) {
    const support::scratch_folder folder;
    const auto path = folder.path() / "messages.txt";
    const i32 unit = find_free_unit();
    ASSERT_EQ(connect_unit(unit, path.string(), open_status::unknown), 0);
    const i32 unit_before = geometry_message_unit;
    geometry_message_unit = unit;
    I4_MODP(5, 0);
    geometry_messages = true;
    I4_MODP(5, 0);
    I4_MODP(5, 1);
    geometry_messages = false;
    geometry_message_unit = unit_before;
    close_unit(unit);
    EXPECT_EQ(support::text_in(path),
              "I4_MODP - Fatal error!\n  I4_MODP ( I, J ) called with J = 0\n");
}
