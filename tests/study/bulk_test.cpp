// Where the bulk of a lot lies when a few rows stand far off.
#include <cmath>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "study/lot/bulk.hpp"

namespace {

using qmx_study::bulk_of;

t_icdata at(double x, double y) {
    t_icdata point{};
    point.d_x = x;
    point.d_y = y;
    return point;
}

std::vector<t_icdata> strip(std::size_t count, double width) {
    std::mt19937 generator(7);
    std::uniform_real_distribution<double> along(432000, 432200), across(4862000, 4862000 + width);
    std::vector<t_icdata> points;
    for (std::size_t i = 0; i < count; ++i)
        points.push_back(at(along(generator), across(generator)));
    return points;
}

TEST(Bulk, IsNotMovedByAFewStraysAnywhereInTheFile) {
    for (const std::size_t count : {20UL, 1000UL, 200000UL})
        for (const double width : {0.0, 8.0, 200.0}) {
            const auto sound = bulk_of(strip(count, width));
            EXPECT_TRUE(sound.strays.empty());
            for (const t_icdata& stray : {at(0, 0), at(1e11, 4862000), at(432000, -1e11)}) {
                std::vector<t_icdata> points = strip(count, width);
                const std::size_t place = count / 3;
                points.insert(points.begin() + static_cast<std::ptrdiff_t>(place), stray);
                points.push_back(at(std::nan(""), 0)); // without a position
                const auto found = bulk_of(points);
                EXPECT_EQ(found.strays, std::vector<std::size_t>{place});
                EXPECT_EQ(found.points, count);
                EXPECT_EQ(found.middle_x(), sound.middle_x());
                EXPECT_EQ(found.middle_y(), sound.middle_y());
            }
        }
}

TEST(Bulk, OfTwoSitesHasNoStrays) {
    std::vector<t_icdata> points = strip(200, 8);
    for (int i = 0; i < 10; ++i) points.push_back(at(500000 + i, 4862000)); // one in twenty
    EXPECT_TRUE(bulk_of(points).strays.empty());
    EXPECT_EQ(bulk_of(points).right, 500009);
    EXPECT_TRUE(bulk_of({}).strays.empty());
}

} // namespace
