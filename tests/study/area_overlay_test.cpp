// Sizes of polygons that lie over one another.
#include <algorithm>
#include <array>
#include <cmath>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "study/shapes/area_overlay.hpp"

namespace {

using namespace qmx_study;

constexpr double west = 432000, south = 4862000; // where the coordinates have few digits left

outline rectangle(double left, double bottom, double right, double top) {
    return {{west + left, west + right, west + right, west + left},
            {south + bottom, south + bottom, south + top, south + top}};
}

// Rectangles on whole coordinates: each unit square is covered or not, so that counting gives the truth.
TEST(AreaOverlay, IsTheCountOfUnitSquares) {
    constexpr int size = 12;
    std::mt19937 random(3);
    const auto upto = [&](int most) {
        return static_cast<int>(random() % static_cast<unsigned>(most));
    };
    for (int round = 0; round < 500; ++round) {
        std::vector<polygon> sets[2];
        std::array<std::array<bool, size * size>, 2> covered{};
        for (int set = 0; set < 2; ++set)
            for (int count = upto(4); count >= 0; --count) {
                const int left = upto(size - 2), bottom = upto(size - 2);
                const int right = left + 1 + upto(size - left),
                          top = bottom + 1 + upto(size - bottom);
                polygon area{rectangle(left, bottom, right, top), {}};
                const bool has_hole = right - left > 2 && top - bottom > 2 && upto(2) == 0;
                if (has_hole)
                    area.holes.push_back(rectangle(left + 1, bottom + 1, right - 1, top - 1));
                for (int x = left; x < std::min(right, size); ++x)
                    for (int y = bottom; y < std::min(top, size); ++y) {
                        const bool is_in_hole =
                            has_hole && x > left && x < right - 1 && y > bottom && y < top - 1;
                        if (!is_in_hole)
                            covered[static_cast<std::size_t>(set)]
                                   [static_cast<std::size_t>(x * size + y)] = true;
                    }
                sets[set].push_back(area);
            }
        overlay_areas wanted;
        for (std::size_t i = 0; i < size * size; ++i) {
            wanted.first += covered[0][i];
            wanted.second += covered[1][i];
            wanted.common += covered[0][i] && covered[1][i];
        }
        const overlay_areas areas = overlay(sets[0], sets[1]);
        ASSERT_NEAR(areas.first, wanted.first, 1e-9) << round;
        ASSERT_NEAR(areas.second, wanted.second, 1e-9) << round;
        ASSERT_NEAR(areas.common, wanted.common, 1e-9) << round;
    }
}

// Two random triangles: their common part by clipping one with the edges of the other.
using place = std::array<double, 2>;
std::vector<place> clipped(std::vector<place> subject, const place& a, const place& b) {
    const auto side = [&](const place& p) {
        return (b[0] - a[0]) * (p[1] - a[1]) - (b[1] - a[1]) * (p[0] - a[0]);
    };
    std::vector<place> result;
    for (std::size_t i = 0; i < subject.size(); ++i) {
        const place& now = subject[i];
        const place& next = subject[(i + 1) % subject.size()];
        const double from = side(now), to = side(next);
        if (from >= 0) result.push_back(now);
        if ((from < 0) != (to < 0)) {
            const double share = from / (from - to);
            result.push_back(
                {now[0] + share * (next[0] - now[0]), now[1] + share * (next[1] - now[1])});
        }
    }
    return result;
}
double size_of(const std::vector<place>& corners) {
    double sum = 0;
    for (std::size_t i = 0; i < corners.size(); ++i) {
        const place& a = corners[i];
        const place& b = corners[(i + 1) % corners.size()];
        sum += a[0] * b[1] - b[0] * a[1];
    }
    return sum / 2;
}
outline outline_of(const std::vector<place>& corners) {
    outline result;
    for (const place& corner : corners) {
        result.x.push_back(corner[0]);
        result.y.push_back(corner[1]);
    }
    return result;
}

TEST(AreaOverlay, OfTrianglesIsThatOfClipping) {
    std::mt19937 random(4);
    std::uniform_real_distribution<double> place_in(0, 100);
    for (int round = 0; round < 2000; ++round) {
        std::vector<place> triangles[2];
        for (std::vector<place>& triangle : triangles) {
            for (int i = 0; i < 3; ++i) triangle.push_back({place_in(random), place_in(random)});
            if (size_of(triangle) < 0) std::swap(triangle[0], triangle[1]);
        }
        std::vector<place> both = triangles[0];
        for (std::size_t i = 0; i < 3; ++i)
            both = clipped(both, triangles[1][i], triangles[1][(i + 1) % 3]);
        const double common = both.size() < 3 ? 0 : size_of(both);
        const polygon first{outline_of(triangles[0]), {}}, second{outline_of(triangles[1]), {}};
        const overlay_areas areas = overlay({first}, {second});
        ASSERT_NEAR(areas.common, common, 1e-8) << round;
        ASSERT_NEAR(overlay({first, second}, {}).first, areas.first + areas.second - common, 1e-8);
        ASSERT_NEAR(area_by_outlines(first), areas.first, 1e-9);
    }
}

TEST(AreaOverlay, FindsWhereAnOutlineCrossesItself) {
    const polygon bow{{{0, 10, 10, 0}, {0, 10, 0, 10}}, {}};
    EXPECT_NEAR(overlay({bow}, {}).first, 50, 1e-12);
    EXPECT_EQ(area_by_outlines(bow), 0);
    const auto place_found = first_crossing(bow);
    ASSERT_TRUE(place_found.has_value());
    EXPECT_NEAR(place_found->x, 5, 1e-12);
    EXPECT_NEAR(place_found->y, 5, 1e-12);
    EXPECT_FALSE(first_crossing({rectangle(0, 0, 9, 5), {rectangle(1, 1, 2, 2)}}).has_value());
    // Two squares that touch in a corner, drawn in one line, cover what they add up to.
    const polygon touching{{{0, 1, 1, 2, 2, 1, 1, 0}, {0, 0, 1, 1, 2, 2, 1, 1}}, {}};
    EXPECT_NEAR(overlay({touching}, {}).first, area_by_outlines(touching), 1e-12);
}

} // namespace
