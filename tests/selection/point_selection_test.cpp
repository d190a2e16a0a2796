#include "selection/point_selection.hpp"

#include "geometry/plan_geometry.hpp"
#include "selection/polygon_index.hpp"
#include "support/expect_event.hpp"

#include <cfenv>

using namespace qmx;
using support::view;

namespace {

struct positions {
    std::vector<f64> x, y;
    void add(f64 px, f64 py) {
        x.push_back(px);
        y.push_back(py);
    }
    std::size_t size() const { return x.size(); }
    point_columns columns() const { return {x.data(), y.data(), static_cast<i64>(x.size())}; }
};

struct selection {
    i32 status, count;
    std::vector<i32> indices; // all entries, as many as points
    bool operator==(const selection&) const = default;
};

constexpr i32 untouched = -77;

selection in_circle(f64 cx, f64 cy, f64 radius, const positions& points) {
    const f64 center[2] = {cx, cy};
    selection result{0, 99, std::vector<i32>(points.size(), untouched)};
    result.status =
        icd_points_in_circle(center, radius, points.columns(), result.count, view(result.indices));
    return result;
}

selection in_polygon(const positions& vertices, const positions& points) {
    selection result{0, 99, std::vector<i32>(points.size(), untouched)};
    result.status = icd_points_in_polygon(vertices.columns(), points.columns(), result.count,
                                          view(result.indices));
    return result;
}

// What a loop over the predicate selects.
template <class Predicate> selection one_by_one(const positions& points, Predicate contains) {
    selection result{1, 0, std::vector<i32>(points.size(), untouched)};
    for (std::size_t i = 0; i < points.size(); ++i) {
        const f64 p[2] = {points.x[i], points.y[i]};
        i32 inside = 0;
        contains(p, inside);
        if ((inside & 1) != 0)
            result.indices[static_cast<std::size_t>(result.count++)] = static_cast<i32>(i);
    }
    return result;
}

selection in_circle_one_by_one(f64 cx, f64 cy, f64 radius, const positions& points) {
    const f64 center[2] = {cx, cy};
    return one_by_one(points, [&](const f64* p, i32& inside) {
        CIRCLE_CONTAINS_POINT_2D(radius, center, p, inside);
    });
}

selection in_polygon_one_by_one(const positions& vertices, const positions& points) {
    std::vector<f64> pairs;
    for (std::size_t i = 0; i < vertices.size(); ++i)
        pairs.insert(pairs.end(), {vertices.x[i], vertices.y[i]});
    const i32 n = static_cast<i32>(vertices.size());
    return one_by_one(points, [&](const f64* p, i32& inside) {
        POLYGON_CONTAINS_POINT_2D(n, pairs.data(), p, inside);
    });
}

// ---- Outlines and points that are hard on an index ----------------------------------------------

using generator = std::mt19937_64;

f64 uniform(generator& random) {
    return std::uniform_real_distribution<f64>(0.0, 1.0)(random);
}

template <class T> T one_of(generator& random, const std::vector<T>& values) {
    return values[random() % values.size()];
}

positions star(generator& random, std::size_t n, f64 size, f64 depth) {
    positions v;
    for (std::size_t i = 0; i < n; ++i) {
        const f64 angle = 6.283185307179586 * static_cast<f64>(i) / static_cast<f64>(n);
        const f64 radius = size * (1.0 - depth * uniform(random));
        v.add(radius * std::cos(angle), radius * std::sin(angle));
    }
    return v;
}

positions any_star(generator& random, std::size_t n, f64 size) {
    return star(random, n, size, uniform(random));
}

positions scatter(generator& random, std::size_t n, f64 size) {
    positions v;
    for (std::size_t i = 0; i < n; ++i)
        v.add(size * (uniform(random) - 0.5), size * (uniform(random) - 0.5));
    return v;
}

// Steps along the axes and diagonals, with repeated vertices, flat edges and edges run twice.
positions lattice_walk(generator& random, std::size_t n, f64 size) {
    positions v;
    f64 x = 0, y = 0;
    const f64 step = size / 8.0;
    for (std::size_t i = 0; i < n; ++i) {
        x += step * (static_cast<f64>(random() % 3) - 1.0);
        y += step * (static_cast<f64>(random() % 3) - 1.0);
        v.add(x, y);
    }
    return v;
}

// A long thin band at any angle.
positions band(generator& random, std::size_t n, f64 size) {
    positions v;
    const f64 angle = 3.2 * uniform(random), width = 0.001 * size;
    const std::size_t half = (n + 1) / 2;
    for (std::size_t i = 0; i < n; ++i) {
        const f64 along =
            size * static_cast<f64>(i < half ? i : n - 1 - i) / static_cast<f64>(half);
        const f64 across = (i < half ? 0.0 : width) + 0.1 * width * uniform(random);
        v.add(along * std::cos(angle) - across * std::sin(angle),
              along * std::sin(angle) + across * std::cos(angle));
    }
    return v;
}

// Teeth over the whole height, or over the whole width.
positions comb(generator& random, std::size_t n, f64 size) {
    positions v;
    const bool upright = random() % 2 == 0;
    for (std::size_t i = 0; i < n; ++i) {
        const f64 a = size * static_cast<f64>(i) / static_cast<f64>(n), b = i % 2 == 0 ? 0 : size;
        upright ? v.add(a, b) : v.add(b, a);
    }
    return v;
}

positions flat(generator& random, std::size_t n, f64 size) {
    positions v;
    const bool upright = random() % 2 == 0;
    for (std::size_t i = 0; i < n; ++i) {
        const f64 a = size * uniform(random);
        upright ? v.add(1.0, a) : v.add(a, 1.0);
    }
    return v;
}

using outline_maker = positions (*)(generator&, std::size_t, f64);
const outline_maker makers[] = {any_star, scatter, lattice_walk, band, comb, flat};

void shift(positions& v, f64 dx, f64 dy) {
    for (f64& x : v.x) x += dx;
    for (f64& y : v.y) y += dy;
}

void strew(generator& random, positions& v, const std::vector<f64>& values) {
    for (std::size_t k = 0; k < 1 + v.size() / 8; ++k)
        (random() % 2 == 0 ? v.x : v.y)[random() % v.size()] = one_of(random, values);
}

// Everywhere in and about the outline, but above all where answers are close: on vertices, level
// with them, on edges, and one unit in the last place away.
positions points_about(generator& random, const positions& v, std::size_t n) {
    const std::vector<f64> odd_values{nan64, inf64,  -inf64,    0.0,       -0.0,
                                      1e308, -1e308, 0x1p-1074, -0x1p-1074};
    positions points;
    const auto nudged = [&](f64 value) {
        const auto way = random() % 4;
        return way == 0   ? std::nextafter(value, inf64)
               : way == 1 ? std::nextafter(value, -inf64)
                          : value;
    };
    while (points.size() < n) {
        const std::size_t i = random() % v.size(), j = (i + 1) % v.size(), k = random() % v.size();
        const f64 t = uniform(random);
        switch (random() % 6) {
        case 0: points.add(nudged(v.x[i]), nudged(v.y[i])); break;
        case 1: points.add(nudged(v.x[i]), nudged(v.y[k])); break;
        case 2:
            points.add(nudged(v.x[i] + t * (v.x[j] - v.x[i])),
                       nudged(v.y[i] + t * (v.y[j] - v.y[i])));
            break;
        case 3: points.add(0.5 * (v.x[i] + v.x[k]), nudged(v.y[i])); break;
        case 4: points.add(v.x[i] + t * (v.x[k] - v.x[i]), v.y[k] + t * (v.y[i] - v.y[k])); break;
        default:
            points.add(random() % 2 ? one_of(random, odd_values) : 3 * v.x[i],
                       random() % 2 ? one_of(random, odd_values) : 3 * v.y[k]);
        }
    }
    return points;
}

// The track of a roller over the outline and around it, in parallel strips: neighbours in the list
// are neighbours on the ground. Strips run level, upright or aslant; some have vertices on them.
positions track_over(generator& random, const positions& v, std::size_t n) {
    const auto [x_low, x_high] = std::minmax_element(v.x.begin(), v.x.end());
    const auto [y_low, y_high] = std::minmax_element(v.y.begin(), v.y.end());
    const f64 width = *x_high - *x_low, height = *y_high - *y_low;
    const auto way = random() % 3;
    const std::size_t strip = 100 + random() % 900;
    const f64 jitter = random() % 2 == 0 ? 0.0 : 0.001;
    positions points;
    f64 across = 0.0;
    for (std::size_t i = 0; i < n; ++i) {
        if (i % strip == 0) across = 1.2 * uniform(random) - 0.1;
        const f64 along = 1.2 * static_cast<f64>(i % strip) / static_cast<f64>(strip) - 0.1 +
                          jitter * uniform(random);
        const f64 a = way == 1 ? across : along;
        const f64 b = way == 0 ? across : way == 1 ? along : 0.5 * (along + across);
        points.add(*x_low + a * width, *y_low + b * height);
        if (way == 0 && i / strip % 3 == 0) points.y.back() = v.y[i / strip % v.size()];
    }
    return points;
}

class PointSelection : public testing::Test {
protected:
    PointSelection() { clear_event(); }
    ~PointSelection() override { clear_event(); }
};

} // namespace

TEST_F(PointSelection, ReportsPositionsFromZeroAscending) {
    const positions points{{0, 5, 1, 0, nan64}, {0, 5, 0, 0, 0}};
    const selection expected{1, 3, {0, 2, 3, untouched, untouched}};
    EXPECT_TRUE(in_circle(0, 0, 2, points) == expected);
    EXPECT_TRUE(in_polygon({{-1, 2, 2, -1}, {-1, -1, 2, 2}}, points) == expected);
}

TEST_F(PointSelection, NothingIsSelectedWithoutPointsOrVertices) {
    generator random(3);
    const positions points = scatter(random, 2000, 2.0), triangle = star(random, 3, 1.0, 0.0);
    const f64 center[2] = {0, 0};
    for (const i64 n : {i64{0}, i64{-5}}) {
        const point_columns none{nullptr, nullptr, n};
        std::vector<i32> indices(points.size(), untouched);
        i32 in_circle = 99, in_triangle = 99, in_nothing = 99;
        EXPECT_EQ(icd_points_in_circle(center, 1.0, none, in_circle, view(indices)), 1);
        EXPECT_EQ(icd_points_in_polygon(triangle.columns(), none, in_triangle, view(indices)), 1);
        EXPECT_EQ(icd_points_in_polygon(none, points.columns(), in_nothing, view(indices)), 1);
        EXPECT_TRUE(in_circle == 0 && in_triangle == 0 && in_nothing == 0);
        EXPECT_EQ(indices, std::vector<i32>(points.size(), untouched));
    }
}

// An event that stands when the walk begins is found after the first point.
TEST_F(PointSelection, StandingEventEndsTheWalkAtTheFirstPoint) {
    static constexpr routine_text below("below");
    const positions points{std::vector<f64>(100, 0.5), std::vector<f64>(100, 0.5)};
    const positions square{{0, 1, 1, 0}, {0, 0, 1, 1}};
    const struct {
        const char* path;
        std::function<selection(const positions&)> run;
    } cases[] = {
        {"below/icd_points_in_circle", [](const positions& p) { return in_circle(0, 0, 1, p); }},
        {"below/icd_points_in_polygon", [&](const positions& p) { return in_polygon(square, p); }}};
    for (const auto& c : cases) {
        fail_here(below, "stands");
        EXPECT_EQ(c.run({}).status, 1);
        EXPECT_EQ(current_event.c_subfunc.trimmed(), "below");
        const selection found = c.run(points);
        EXPECT_EQ(found.status, 3);
        EXPECT_EQ(found.count, 1);
        EXPECT_EQ(found.indices[0], 0);
        EXPECT_EQ(found.indices[1], untouched);
        support::expect_event("stands", c.path);
    }
}

TEST_F(PointSelection, PositionsMayLieApart) {
    positions points;
    for (int i = 0; i < 700; ++i) points.add(i, 0);
    std::vector<i32> records(1400, untouched);
    const f64 center[2] = {0, 0};
    i32 count = 0;
    icd_points_in_circle(center, 600.0, points.columns(), count,
                         array_view<i32>(records.data(), 700, 2 * sizeof(i32)));
    ASSERT_EQ(count, 601);
    for (std::size_t i = 0; i < 700; ++i) {
        ASSERT_EQ(records[2 * i], i <= 600 ? static_cast<i32>(i) : untouched);
        ASSERT_EQ(records[2 * i + 1], untouched);
    }
}

TEST_F(PointSelection, CircleSelectsWhatThePredicateDoes) {
    generator random(11);
    for (int round = 0; round < 60; ++round) {
        positions points = scatter(random, 1 + random() % 3000, 20.0);
        if (round % 2 == 0) // whole numbers: many points on the rim
            for (std::size_t i = points.size(); i-- > 0;)
                points.add(std::round(points.x[i]), std::round(points.y[i]));
        if (round % 3 == 0) strew(random, points, {nan64, inf64, -inf64, 1e200, 0x1p-540});
        const f64 east = round % 5 == 0 ? 0.3 : 0.0;
        const f64 radius = round % 7 == 0 ? nan64 : std::round(12 * uniform(random)) - 2;
        ASSERT_TRUE(in_circle(east, 0, radius, points) ==
                    in_circle_one_by_one(east, 0, radius, points))
            << "round " << round;
    }
}

TEST_F(PointSelection, PolygonSelectsWhatThePredicateDoes) {
    generator random(12);
    const std::vector<f64> sizes{1.0,      1000.0,  0x1p-1060, 0x1p-530,
                                 0x1p-400, 0x1p400, 0x1p600,   1e308};
    const std::vector<std::size_t> vertex_counts{1, 2, 3, 4, 7, 30, 200, 700};
    const std::vector<std::size_t> point_counts{5, 63, 64, 500, 1500, 4000};
    for (int round = 0; round < 900; ++round) {
        const f64 size = round % 2 == 0 ? 1000.0 : one_of(random, sizes);
        positions v = makers[static_cast<std::size_t>(round) % std::size(makers)](
            random, one_of(random, vertex_counts), size);
        if (round % 5 == 0) shift(v, 500000.0, 4000000.0);
        if (round % 11 == 0) shift(v, 0x1p52, -0x1p53); // but a few steps of the grid remain
        if (round % 4 == 0) strew(random, v, {v.x[0], v.y[0], 0.0});
        if (round % 7 == 0) strew(random, v, {nan64, inf64, -inf64, 1e308, 0x1p-1074});
        const positions points = points_about(random, v, one_of(random, point_counts));
        ASSERT_TRUE(in_polygon(v, points) == in_polygon_one_by_one(v, points)) << "round " << round;
    }
}

// Points in their order on the ground are decided in groups: each as it would be alone, also with
// neighbours that are no numbers or far away.
TEST_F(PointSelection, TracksAreSelectedAsTheirPoints) {
    generator random(15);
    const std::vector<f64> odd_values{nan64, inf64, -inf64, 1e308, -1e200, 0x1p-1074};
    i64 selected = 0, left_out = 0;
    for (int round = 0; round < 240; ++round) {
        const f64 size = one_of<f64>(random, {1.0, 1000.0, 1000.0, 0x1p-400, 0x1p450});
        positions v = makers[static_cast<std::size_t>(round) % std::size(makers)](
            random, 3 + random() % 80, size);
        if (round % 5 == 0) shift(v, 500.0 * size, 4000.0 * size);
        positions points = track_over(random, v, 3000 + random() % 6000);
        if (round % 3 == 0)
            for (int k = 0; k < 4; ++k)
                (random() % 2 == 0 ? points.x : points.y)[random() % points.size()] =
                    one_of(random, odd_values);
        const selection inside = in_polygon_one_by_one(v, points);
        ASSERT_TRUE(in_polygon(v, points) == inside) << "round " << round;
        selected += inside.count;
        left_out += std::ssize(points.x) - inside.count;

        const std::size_t i = random() % v.size();
        const f64 radius = std::hypot(points.x[0] - v.x[i], points.y[0] - v.y[i]);
        ASSERT_TRUE(in_circle(v.x[i], v.y[i], radius, points) ==
                    in_circle_one_by_one(v.x[i], v.y[i], radius, points))
            << "round " << round;
    }
    EXPECT_GT(selected, 100000);
    EXPECT_GT(left_out, 100000);
}

// The index is built for far more points than are asked, so that its cells are small, and some of
// the points lie on the very borders of its cells, at scales where few numbers lie between them.
TEST_F(PointSelection, FineIndexAnswersAsThePredicate) {
    generator random(13);
    const std::vector<f64> shifts{0.0, 0.0, 1e6, 0x1p44, 0x1p50};
    for (int round = 0; round < 150; ++round) {
        positions v = makers[static_cast<std::size_t>(round) % std::size(makers)](
            random, 3 + random() % 60, round % 8 == 3 ? 0x1p-535 : 100.0);
        shift(v, one_of(random, shifts), one_of(random, shifts));
        polygon_index index;
        ASSERT_TRUE(build_polygon_index(v.columns(), 400000, index));

        positions points = points_about(random, v, most_points_at_once / 2);
        const auto border = [&](const raster_axis& axis) {
            const auto strip = static_cast<f64>(random() % static_cast<unsigned>(axis.strips));
            const f64 place = axis.low + strip * axis.width;
            return std::nextafter(place, random() % 2 == 0 ? inf64 : -inf64);
        };
        while (points.size() < most_points_at_once) {
            const f64 y = border(index.rows);
            points.add(border(index.columns[index.rows.strip_of(y)]), y);
        }

        const selection expected = in_polygon_one_by_one(v, points);
        i32 count = 0;
        std::vector<i32> found(points.size());
        const auto indices = view_of(found.data(), std::ssize(found));
        select_in_polygon(index, points.x.data(), points.y.data(), most_points_at_once, 0, 7,
                          selected_points{count, indices});
        ASSERT_EQ(count, expected.count) << "round " << round;
        for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i)
            ASSERT_EQ(found[i], expected.indices[i] + 7) << "round " << round;
    }
}

// An axis over huge coordinates is refused rather than left with infinite places, whose conversion
// to an integer is undefined: the squares have sides of 8e307 and the like.
TEST_F(PointSelection, HugeOutlinesHaveNoInfinitePlaces) {
    std::feclearexcept(FE_ALL_EXCEPT);
    for (const f64 low : {-1.2e308, -8e307, -6e307, 0.0})
        for (const f64 side : {2e307, 8e307, 1.2e308, 1.7e308})
            for (const i64 strips : {3, 4, 5, 6, 9, 40, 1000}) {
                const raster_axis axis = divided(low, low + side, strips);
                ASSERT_LT(axis.strip_of(low + side), axis.strips);
                ASSERT_EQ(axis.strip_of(-inf64), 0);
            }
    EXPECT_FALSE(std::fetestexcept(FE_INVALID));
    generator random(16);
    for (const f64 side : {8e307, 1.2e308}) {
        const positions square{{0, side, side, 0}, {0, 0, side, side}};
        const positions points = points_about(random, square, 4000);
        EXPECT_TRUE(in_polygon(square, points) == in_polygon_one_by_one(square, points)) << side;
    }
}

// The work is what the lists hold: bounded in all, and short for ordinary outlines.
TEST_F(PointSelection, IndexStaysSmallAndItsListsShort) {
    generator random(14);
    const i64 points = 100000;
    for (const outline_maker make : makers)
        for (const std::size_t n : {std::size_t{50}, std::size_t{5000}}) {
            const positions v = make(random, n, 1000.0);
            polygon_index index;
            ASSERT_TRUE(build_polygon_index(v.columns(), points, index));
            EXPECT_LE(index.members.size() + index.cells.size(),
                      32 * static_cast<i64>(n) + 3 * points);
        }
    const positions circle = star(random, 5000, 100.0, 0.0);
    polygon_index index;
    ASSERT_TRUE(build_polygon_index(circle.columns(), points, index));
    i64 longest = 0, listing = 0;
    for (i64 cell = 0; cell + 1 < index.cells.size(); ++cell) {
        const i64 length = index.first[cell + 1] - index.first[cell];
        longest = std::max(longest, length);
        listing += length > 0;
    }
    EXPECT_LT(longest, 5000 / 20);
    EXPECT_LT(listing, index.cells.size() / 8);
}
