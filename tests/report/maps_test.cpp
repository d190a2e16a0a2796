// Pictures of cells against a plain search for the nearest cell.
#include <algorithm>
#include <array>
#include <cmath>
#include <random>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <lodepng.h>

#include "report/classes.hpp"
#include "report/frames.hpp"
#include "report/packing.hpp"

namespace {

using namespace qmx_report;
using qmx_study::cell_table;

constexpr double degree = 3.14159265358979323846 / 180;

struct lot {
    cell_table cells;
    map_lattice lattice;
    qmx_study::road_frame road;
};

struct lot_case {
    const char* name;
    double heading; // of the axis, degrees anticlockwise from the eastings
    double turn;    // of the lattice against the axis
    double along, across;
    bool shifted; // each row begins where it likes
    bool lattice; // otherwise scattered points
};

// A strip of 60 by 9 with a cell at each node.
lot lot_of(const lot_case& made) {
    lot one;
    const double x0 = 432000.125, y0 = 4862000.5, length = 60, half = 4.5;
    const double a = made.heading * degree, b = (made.heading + made.turn) * degree;
    one.road.axis = {{x0, y0}, {x0 + length * std::cos(a), y0 + length * std::sin(a)}};
    one.road.length = length;
    one.road.least_offset = -half;
    one.road.most_offset = half;
    one.lattice.along = made.along;
    one.lattice.across = made.across;
    one.lattice.angle = made.heading + made.turn;
    one.lattice.origin_x = x0;
    one.lattice.origin_y = y0;
    one.lattice.is_lattice = made.lattice;
    one.lattice.rows_are_shifted = made.shifted;
    std::mt19937 chance(7);
    const auto shift = [&] { return static_cast<double>(chance() % 1000) / 1000; };
    for (int j = -400; j <= 400; ++j) {
        const double start = made.shifted ? shift() : 0;
        for (int i = -400; i <= 400; ++i) {
            const double u = (i + start + (made.lattice ? 0 : 0.8 * (shift() - 0.5))) * made.along;
            const double v = (j + (made.lattice ? 0 : 0.8 * (shift() - 0.5))) * made.across;
            const double x = x0 + u * std::cos(b) - v * std::sin(b);
            const double y = y0 + u * std::sin(b) + v * std::cos(b);
            const double station = (x - x0) * std::cos(a) + (y - y0) * std::sin(a);
            const double offset = (x - x0) * std::sin(a) - (y - y0) * std::cos(a);
            if (station < 0 || station > length || std::fabs(offset) > half) continue;
            one.cells.x.push_back(x);
            one.cells.y.push_back(y);
            one.cells.value.push_back(40 + i % 17 + j % 5);
            one.cells.pass.push_back(1 + (i + 400) % 6);
            one.cells.verdict.push_back(static_cast<std::uint8_t>((i + j) & 1));
        }
    }
    return one;
}

// Nearest cell by looking at all: in the lattice's own units where cells are rectangles.
struct truth {
    int cell = -1;
    double largest = 0; // of the two distances in units of the lattice
    double distance = 0;
    double lead = 0; // of the nearest over the second
};
truth nearest_of(const lot& one, double x, double y) {
    const double c = std::cos(one.lattice.angle * degree), s = std::sin(one.lattice.angle * degree);
    truth found;
    double least = 1e300, second = 1e300;
    for (std::size_t k = 0; k < one.cells.size(); ++k) {
        const double dx = one.cells.x[k] - x, dy = one.cells.y[k] - y;
        const double u = std::fabs(dx * c + dy * s) / one.lattice.along;
        const double v = std::fabs(dy * c - dx * s) / one.lattice.across;
        const double far = one.lattice.is_lattice ? std::max(u, v) : std::hypot(dx, dy);
        if (far < least) {
            second = least;
            least = far;
            found = {static_cast<int>(k), std::max(u, v), std::hypot(dx, dy), 0};
        } else {
            second = std::min(second, far);
        }
    }
    found.lead = second - least;
    return found;
}

class Sampling : public testing::TestWithParam<lot_case> {};

TEST_P(Sampling, PixelsShowTheCellsThatAPlainSearchFinds) {
    const lot one = lot_of(GetParam());
    const cell_index index(one.cells, one.lattice);
    std::mt19937 chance(3);
    std::uniform_real_distribution<double> station(-1, 61), offset(-6, 6);
    const double a = GetParam().heading * degree;
    int decided = 0;
    for (int k = 0; k < 1500; ++k) {
        const double s = station(chance), o = offset(chance);
        const double x = one.road.axis[0].x + s * std::cos(a) + o * std::sin(a);
        const double y = one.road.axis[0].y + s * std::sin(a) - o * std::cos(a);
        const truth nearest = nearest_of(one, x, y);
        const int found = index.at(x, y);
        const double reach = std::max(one.lattice.along, one.lattice.across);
        const bool inside =
            one.lattice.is_lattice ? nearest.largest < 0.499 : nearest.distance < reach;
        const bool outside =
            one.lattice.is_lattice ? nearest.largest > 0.61 : nearest.distance > reach;
        if (inside && nearest.lead > 1e-6) {
            EXPECT_EQ(found, nearest.cell) << s << " " << o;
            ++decided;
        } else if (outside) {
            EXPECT_EQ(found, -1) << s << " " << o;
        }
    }
    EXPECT_GT(decided, 800);
}

TEST_P(Sampling, StripShowsEveryCellAndHasNoHoles) {
    const lot one = lot_of(GetParam());
    const cell_index index(one.cells, one.lattice);
    const strip_frame frame = strip_of(one.road, one.lattice, 1500000);
    const raster picture = draw(frame, one.road, index);
    ASSERT_EQ(picture.cell.size(),
              static_cast<std::size_t>(frame.columns * frame.rows * frame.folds));
    const std::set<std::int32_t> shown(picture.cell.begin(), picture.cell.end());
    // Scattered points may lie closer together than pixels are wide, and so may ends of shifted rows.
    const std::size_t expected =
        one.lattice.is_lattice ? one.cells.size() : one.cells.size() * 9 / 10;
    EXPECT_GE(shown.size() - shown.count(-1) + (one.lattice.rows_are_shifted ? 60 : 0), expected);
    if (!one.lattice.is_lattice) return; // scattered points leave true gaps
    int holes = 0;
    const double rim = 1.5 * std::max(one.lattice.along, one.lattice.across);
    for (std::int64_t column = 0; column < frame.columns * frame.folds; ++column)
        for (std::int64_t row = 0; row < frame.rows; ++row) {
            const double s =
                frame.first_station + (static_cast<double>(column) + 0.5) * frame.station_step;
            const double o =
                frame.first_offset + (static_cast<double>(row) + 0.5) * frame.offset_step;
            if (s < rim || s > 60 - rim || std::fabs(o) > 4.5 - rim) continue;
            const std::int64_t fold = column / frame.columns;
            holes += picture.cell[static_cast<std::size_t>(
                         (fold * frame.rows + row) * frame.columns + column % frame.columns)] < 0;
        }
    EXPECT_EQ(holes, 0);
}

TEST_P(Sampling, PlanIsWholeAtAnyResolution) {
    const lot one = lot_of(GetParam());
    const cell_index index(one.cells, one.lattice);
    for (const std::int64_t most : {400, 5000, 600000}) {
        const plan_frame frame = plan_of(one.cells, one.lattice, most);
        EXPECT_LE(frame.columns * frame.rows, most + 2 * (frame.columns + frame.rows));
        const raster picture = draw(frame, one.cells, one.lattice, index);
        // The pixel of each cell's centre shows a cell.
        for (std::size_t k = 0; k < one.cells.size(); ++k) {
            const auto column =
                static_cast<std::int64_t>((one.cells.x[k] - frame.left) / frame.step);
            const auto row = static_cast<std::int64_t>((frame.top - one.cells.y[k]) / frame.step);
            ASSERT_GE(picture.cell[static_cast<std::size_t>(row * frame.columns + column)], 0)
                << most << " cell " << k;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Lots, Sampling,
                         testing::Values(lot_case{"aligned", 30, 0, 0.3, 0.5, false, true},
                                         lot_case{"across", 30, 90, 0.3, 0.5, false, true},
                                         lot_case{"turned_by_17", 40, 17, 0.3, 0.3, false, true},
                                         lot_case{"turned_by_45", 0, 45, 0.3, 0.3, false, true},
                                         lot_case{"oblong_turned_by_61", 100, 61, 0.25, 0.5, false,
                                                  true},
                                         lot_case{"shifted_rows", 30, 0, 0.3, 0.5, true, true},
                                         lot_case{"scattered", 12, 0, 0.5, 0.5, false, false}),
                         [](const auto& row) { return row.param.name; });

TEST(Strip, FoldsFitThePageAndThinningIsTold) {
    qmx_study::road_frame road;
    road.axis = {{0, 0}, {10000, 0}};
    road.length = 10000;
    road.least_offset = -6;
    road.most_offset = 6;
    map_lattice lattice{0.3, 0.3, 0, 0.15, 0.15, true, false, true};
    const strip_frame frame = strip_of(road, lattice, 1500000);
    EXPECT_EQ(frame.folds, 10);
    EXPECT_EQ(frame.thinning, 1);
    const double drawn =
        static_cast<double>(frame.columns) * frame.station_step / 12 / frame.exaggeration;
    EXPECT_GT(drawn, 10);
    EXPECT_LE(drawn, 24.1);
    const strip_frame thin = strip_of(road, lattice, 100000);
    EXPECT_EQ(thin.thinning,
              std::round(thin.thinning)); // each second or third cell, not each 2.4th
    EXPECT_GE(thin.thinning, 3);
    EXPECT_LE(thin.columns * thin.rows * thin.folds, 102000);
}

TEST(Picture, DecodesToTheColoursOfTheClasses) {
    const lot one = lot_of({"", 40, 17, 0.3, 0.3, false, true});
    const cell_index index(one.cells, one.lattice);
    const raster picture =
        draw(plan_of(one.cells, one.lattice, 20001), one.cells, one.lattice, index);
    for (const layer& shown :
         {value_layer(one.cells, 45), pass_layer(one.cells, 4), verdict_layer(one.cells)})
        for (const content kind : {content::dense, content::sparse}) {
            const bytes png = png_of(picture, shown, kind);
            std::vector<unsigned char> decoded;
            unsigned width = 0, height = 0;
            ASSERT_EQ(lodepng::decode(decoded, width, height, png), 0u);
            ASSERT_EQ(width, static_cast<unsigned>(picture.columns));
            ASSERT_EQ(height, static_cast<unsigned>(picture.rows));
            for (std::size_t k = 0; k < picture.cell.size(); ++k) {
                if (picture.cell[k] < 0) {
                    ASSERT_EQ(decoded[4 * k + 3], 0);
                    continue;
                }
                const auto at = shown.class_of_cell[static_cast<std::size_t>(picture.cell[k])];
                const colour& shade = shown.classes[at].shade;
                ASSERT_EQ((std::array<int, 4>{decoded[4 * k], decoded[4 * k + 1],
                                              decoded[4 * k + 2], decoded[4 * k + 3]}),
                          (std::array<int, 4>{shade[0], shade[1], shade[2], 255}))
                    << shown.name << " pixel " << k;
            }
        }
}

TEST(Classes, HoldTheValuesThatTheirLimitsSay) {
    cell_table cells;
    std::mt19937 chance(1);
    std::normal_distribution<double> values(50, 6);
    for (int k = 0; k < 20000; ++k) {
        cells.value.push_back(values(chance));
        cells.x.push_back(k);
        cells.y.push_back(0);
        cells.pass.push_back(1 + k % 23);
    }
    cells.value[5] = 47; // on the limit itself
    const layer shown = value_layer(cells, 47);
    EXPECT_LE(shown.classes.size(), 9u);
    EXPECT_TRUE(std::any_of(shown.classes.begin(), shown.classes.end(),
                            [](const colour_class& one) { return one.from == 47; }));
    for (std::size_t k = 0; k < cells.size(); ++k) {
        const colour_class& one = shown.classes[shown.class_of_cell[k]];
        ASSERT_TRUE(cells.value[k] >= one.from && cells.value[k] < one.to) << cells.value[k];
    }
    const layer passes = pass_layer(cells, 4);
    EXPECT_LE(passes.classes.size(), 9u);
    EXPECT_TRUE(std::any_of(passes.classes.begin(), passes.classes.end(),
                            [](const colour_class& one) { return one.from == 4; }));
    for (std::size_t k = 0; k < cells.size(); ++k) {
        const std::size_t at = passes.class_of_cell[k];
        const bool first = at == 0, last = at + 1 == passes.classes.size();
        ASSERT_TRUE((first || cells.pass[k] >= passes.classes[at].from) &&
                    (last || cells.pass[k] < passes.classes[at].to));
    }
    cells.value.assign(cells.size(), 3); // a constant, and no value at all
    EXPECT_EQ(value_layer(cells, std::nullopt).classes.size(), 1u);
    cells.value.assign(cells.size(), std::nan(""));
    EXPECT_EQ(value_layer(cells, std::nullopt).class_of_cell[0], 255);
}

// Lightness as a grey print shows it.
TEST(Classes, ColoursAreToldApartInGrey) {
    cell_table cells;
    for (int k = 0; k < 9000; ++k) {
        cells.value.push_back(k % 900);
        cells.x.push_back(k);
        cells.y.push_back(0);
        cells.pass.push_back(1 + k % 9);
    }
    const auto grey = [](const colour& c) { return 0.299 * c[0] + 0.587 * c[1] + 0.114 * c[2]; };
    for (const layer& shown : {value_layer(cells, std::nullopt), pass_layer(cells, std::nullopt)}) {
        const bool rises = shown.name == std::string("value");
        for (std::size_t k = 1; k < shown.classes.size(); ++k) {
            const double step = grey(shown.classes[k].shade) - grey(shown.classes[k - 1].shade);
            EXPECT_GT(rises ? step : -step, 9) << shown.name << " class " << k;
        }
    }
}

} // namespace
