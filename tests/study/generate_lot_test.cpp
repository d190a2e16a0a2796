// The generator of artificial lots against the truth that it promises.
#include "study/base/portable_math.hpp"
#include "study/generate/correlated_field.hpp"
#include "study/generate/generate_lot.hpp"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <map>
#include <numbers>
#include <vector>

#include <gtest/gtest.h>

namespace {

using namespace qmx_study;

// A lot of sound rows only, one pass everywhere, without overlap.
lot_settings plain_lot() {
    lot_settings settings;
    settings.passes = 1;
    settings.overlap = settings.missed = settings.bad_rows = 0;
    return settings;
}

TEST(PortableMath, AgreesWithTheMathematicsLibrary) {
    for (int k = -4000; k <= 4000; ++k) {
        const double turns = k / 640.0; // eighths, quarters and halves among them
        const double angle = 2 * std::numbers::pi * (turns - std::floor(turns));
        ASSERT_NEAR(portable::cosine_of_turns(turns), std::cos(angle), 2e-15) << turns;
        ASSERT_NEAR(portable::sine_of_turns(turns), std::sin(angle), 2e-15) << turns;
        const double x = std::exp2(k / 7.0);
        ASSERT_NEAR(portable::logarithm(x), std::log(x), 1e-15 + 4e-16 * std::fabs(std::log(x)));
        const double past = std::fabs(k / 6.0), decay = std::exp(-past);
        ASSERT_NEAR(portable::exponential_decay(-past), decay, (4e-16 + 1e-14 * past) * decay);
    }
    for (int k = -2000; k <= 2000; ++k) {
        const double angle = k * std::numbers::pi / 1999.5;
        const double radius = std::exp2(k / 3.0);
        const double x = radius * std::cos(angle), y = radius * std::sin(angle);
        ASSERT_NEAR(portable::turns_of(y, x), std::atan2(y, x) / (2 * std::numbers::pi), 1.5e-16)
            << k;
        ASSERT_NEAR(portable::length_of(x, y), std::hypot(x, y), 4e-16 * radius) << k;
        const double length = std::exp2(k / 40.0);
        const int exponent = portable::decimal_exponent(length);
        ASSERT_TRUE(portable::power_of_ten(exponent) <= length &&
                    length < portable::power_of_ten(exponent + 1))
            << k;
        ASSERT_EQ(portable::between(x, y, 0.3), std::lerp(x, y, 0.3));
    }
    for (int exponent = -22; exponent <= 22; ++exponent)
        EXPECT_EQ(portable::power_of_ten(exponent),
                  std::strtod(("1e" + std::to_string(exponent)).c_str(), nullptr));
    EXPECT_EQ(portable::turns_of(0, 0), 0);
    EXPECT_EQ(portable::turns_of(1, 0), 0.25);
    EXPECT_EQ(portable::turns_of(0, -1), 0.5);
    EXPECT_EQ(portable::length_of(1e300, -1e300), std::hypot(1e300, 1e300));
    EXPECT_EQ(portable::cosine_of_turns(0.25), 0);
    EXPECT_EQ(portable::sine_of_turns(0.25), 1);
}

TEST(RandomStream, IsNormalAndUncorrelated) {
    const portable::random_stream random(7, 3), other(7, 4);
    constexpr int n = 200000;
    double sum = 0, squares = 0, fourth = 0, neighbours = 0, streams = 0;
    for (std::uint64_t k = 0; k < n; ++k) {
        const double x = random.normal(k);
        sum += x;
        squares += x * x;
        fourth += x * x * x * x;
        neighbours += x * random.normal(k + 1);
        streams += x * other.normal(k);
    }
    const double error = 5 / std::sqrt(double{n}); // five standard errors of a mean
    EXPECT_NEAR(sum / n, 0, error);
    EXPECT_NEAR(squares / n, 1, error * std::sqrt(2.0));
    EXPECT_NEAR(fourth / n, 3, error * std::sqrt(96.0));
    EXPECT_NEAR(neighbours / n, 0, error);
    EXPECT_NEAR(streams / n, 0, error);
}

TEST(CorrelatedField, FollowsTheExponentialModelInEveryDirection) {
    constexpr double scale = 2;
    constexpr int side =
        240; // base points 8 m apart, each with a partner per distance and direction
    const double distances[] = {0.1, 0.5, 1, 2, 4, 8, 40};
    const double directions[] = {0, 0.125, 0.25, 0.375, 0.07}; // turns
    std::vector<double> x, y;
    const auto add_grid = [&](double dx, double dy) {
        for (int i = 0; i < side; ++i)
            for (int j = 0; j < side; ++j) {
                x.push_back(8.0 * i + dx);
                y.push_back(8.0 * j + dy);
            }
    };
    add_grid(0, 0);
    const std::size_t points = x.size();
    for (std::size_t k = 0; k < std::size(distances); ++k) {
        const double turn = directions[k % std::size(directions)];
        add_grid(distances[k] * portable::cosine_of_turns(turn),
                 distances[k] * portable::sine_of_turns(turn));
    }
    const std::vector<double> field = correlated_field(11, scale, 0.1, x, y);

    double sum = 0, squares = 0, fourth = 0;
    for (std::size_t i = 0; i < points; ++i) {
        sum += field[i];
        squares += field[i] * field[i];
        fourth += std::pow(field[i], 4);
    }
    const auto n = static_cast<double>(points);
    EXPECT_NEAR(sum / n, 0, 0.03);
    EXPECT_NEAR(squares / n, 1, 0.04);
    EXPECT_NEAR(fourth / squares * n / squares, 3, 0.15);
    for (std::size_t k = 0; k < std::size(distances); ++k) {
        double product = 0;
        for (std::size_t i = 0; i < points; ++i) product += field[i] * field[(k + 1) * points + i];
        EXPECT_NEAR(product / n, std::exp(-distances[k] / scale), 0.035) << distances[k];
    }
}

TEST(GeneratedLot, HasTheSillAndTheNuggetAsked) {
    lot_settings settings = plain_lot();
    settings.lattice = true;
    settings.lane_spacing = settings.point_spacing = 1;
    settings.length = 10000;
    settings.range = 6;
    settings.sill = 40;
    settings.nugget = 10;
    settings.first_mean = 100;
    const generated_lot made = generate_lot(settings);
    ASSERT_EQ(made.records.size(), 120000U);
    std::vector<double> values(made.cells.size());
    double sum = 0, squares = 0;
    for (const lot_record& record : made.records) {
        values[record.cell] = record.value - 100;
        sum += values[record.cell];
        squares += values[record.cell] * values[record.cell];
    }
    EXPECT_NEAR(sum / 120000, 0, 0.5);
    EXPECT_NEAR(squares / 120000, 40, 3);
    for (const std::size_t distance : {1U, 2U, 6U}) { // along the lanes, 1 m from cell to cell
        double half_squares = 0, pairs = 0;
        for (std::size_t cell = 0; cell + distance < values.size(); ++cell) {
            if (cell % 10000 + distance >= 10000) continue;
            const double difference = values[cell] - values[cell + distance];
            half_squares += 0.5 * difference * difference;
            ++pairs;
        }
        const double model = 10 + 30 * (1 - std::exp(-3 * static_cast<double>(distance) / 6));
        EXPECT_NEAR(half_squares / pairs, model, 0.06 * model) << distance;
    }
}

TEST(GeneratedLot, PassMeansSaturate) {
    lot_settings settings = plain_lot();
    settings.passes = 8;
    settings.overlap = 0.5;
    settings.nugget = 1;
    settings.pass_constant = 2;
    const generated_lot made = generate_lot(settings);
    // The field is the same at all passes: against the first pass of the same cell only noise is left.
    std::vector<double> first(made.cells.size());
    std::map<int, std::pair<double, double>> growth; // sum and count by pass
    for (const lot_record& record : made.records) {
        if (record.pass == 1) first[record.cell] = record.value;
        growth[record.pass].first += record.value - first[record.cell];
        growth[record.pass].second += 1;
    }
    ASSERT_EQ(growth.size(), 16U); // cells in an overlap get twice the passes
    for (const auto& [pass, total] : growth)
        EXPECT_NEAR(total.first / total.second, 20 * (1 - std::exp(-(pass - 1) / 2.0)),
                    6 * std::sqrt(2 / total.second))
            << pass;
}

struct layout_case {
    const char* name;
    double width, spacing, drum, overlap, length, azimuth;
    int passes;
    std::size_t lanes, cells, records; // all passes
    int most_passes;                   // at one cell
};
const layout_case layout_cases[] = {
    {"no_overlap", 12, 0.5, 2, 0, 30, 60, 4, 24, 2400, 9600, 4},
    {"overlap_of_one_lane", 12, 0.5, 2, 0.5, 30, -200, 2, 24, 2400, 6200, 4},
    {"last_drum_lane_narrow", 1.5, 0.5, 1, 0, 30, 0, 3, 3, 300, 900, 3},
    {"drum_wider_than_strip", 1.5, 0.5, 4, 2, 30, 90, 3, 3, 300, 900, 3},
    {"drum_below_a_lane", 1, 0.5, 0.1, 0, 30, 300, 1, 2, 200, 200, 1},
    {"three_drums_over_a_cell", 2.5, 0.5, 1.5, 1, 30, 45, 1, 5, 500, 900, 3},
    {"one_cell", 0.5, 0.5, 2, 0.5, 0.3, 17, 2, 1, 1, 2, 2},
    {"spacings_that_binary_cannot_hold", 0.6, 0.2, 0.6, 0, 0.9, 90, 1, 3, 9, 9, 1}};
class Layout : public testing::TestWithParam<layout_case> {};

TEST_P(Layout, CellsPassesAndOutline) {
    const layout_case& expected = GetParam();
    lot_settings settings = plain_lot();
    settings.width = expected.width;
    settings.lane_spacing = expected.spacing;
    settings.drum_width = expected.drum;
    settings.overlap = expected.overlap;
    settings.length = expected.length;
    settings.azimuth = expected.azimuth;
    settings.passes = expected.passes;
    ASSERT_EQ(fault_in(settings), "");
    const generated_lot made = generate_lot(settings);
    EXPECT_EQ(static_cast<std::size_t>(made.lanes), expected.lanes);
    EXPECT_EQ(made.cells.size(), expected.cells);
    EXPECT_EQ(made.records.size(), expected.records);

    std::vector<int> passes(made.cells.size(), 0); // each cell counts on without a gap
    double seconds = 0;
    for (const lot_record& record : made.records) {
        ASSERT_EQ(record.pass, ++passes[record.cell]);
        ASSERT_GE(record.seconds, seconds);
        seconds = record.seconds;
    }
    EXPECT_EQ(*std::max_element(passes.begin(), passes.end()), expected.most_passes);
    EXPECT_GE(*std::min_element(passes.begin(), passes.end()), expected.passes);

    // Corners run clockwise: what is inside lies to the right of every edge.
    const auto expect_inside = [&](double easting, double northing) {
        for (std::size_t k = 0; k < 4; ++k) {
            const lot_cell &from = made.alignment[k], &to = made.alignment[(k + 1) % 4];
            ASSERT_LT((to.easting - from.easting) * (northing - from.northing) -
                          (to.northing - from.northing) * (easting - from.easting),
                      0);
        }
    };
    for (const lot_cell& cell : made.cells) expect_inside(cell.easting, cell.northing);
    for (const lot_spot& spot : made.spots) expect_inside(spot.easting, spot.northing);

    // The other way of writing keeps exactly the last passes.
    settings.final_coverage = true;
    const generated_lot last = generate_lot(settings);
    std::size_t kept = 0;
    for (const lot_record& record : made.records) {
        if (record.pass < passes[record.cell]) continue;
        ASSERT_LT(kept, last.records.size());
        EXPECT_EQ(last.records[kept].cell, record.cell);
        EXPECT_EQ(last.records[kept].pass, record.pass);
        EXPECT_EQ(last.records[kept].value, record.value);
        ++kept;
    }
    EXPECT_EQ(kept, last.records.size());
}
INSTANTIATE_TEST_SUITE_P(Strip, Layout, testing::ValuesIn(layout_cases),
                         [](const auto& row) { return row.param.name; });

TEST(GeneratedLot, LastPassLeavesOutTheShareAsked) {
    lot_settings settings = plain_lot();
    settings.width = 400; // 200 drum lanes
    settings.missed = 0.1;
    settings.lane_spacing = 2;
    settings.point_spacing = 1;
    settings.length = 500;
    const generated_lot made = generate_lot(settings);
    // the share of a lane is uniform from 0 to 0.2: standard deviation 0.058, of the mean 0.0041
    EXPECT_NEAR(1 - static_cast<double>(made.records.size()) / 100000, 0.1, 0.02);
    for (const lot_spot& spot : made.spots) EXPECT_EQ(spot.pass, 1);
}

TEST(GeneratedLot, SpotTestsStandInTheLinearRelationToTheGround) {
    lot_settings settings = plain_lot();
    settings.passes = 5;
    settings.nugget = 0;
    settings.range = 3000; // neighbours differ by little
    settings.sill = 100;
    settings.spots = 40;
    settings.spot_intercept = -3;
    settings.spot_slope = 2;
    settings.spot_error = 0;
    const generated_lot made = generate_lot(settings);
    ASSERT_EQ(made.spots.size(), 40U);
    for (std::size_t k = 0; k < made.spots.size(); ++k) {
        const lot_spot& spot = made.spots[k];
        EXPECT_EQ(spot.pass, static_cast<int>(k % 5) + 1);
        double nearest = 1e9, value = 0;
        for (const lot_record& record : made.records) {
            const lot_cell& cell = made.cells[record.cell];
            const double distance =
                std::hypot(cell.easting - spot.easting, cell.northing - spot.northing);
            if (record.pass != spot.pass || distance > nearest) continue;
            nearest = distance;
            value = record.value;
        }
        EXPECT_LT(nearest, 0.5);
        // the field changes over 0.4 m by 0.2 on the average
        EXPECT_NEAR(spot.value, -3 + 2 * value, 1.6);
    }
}

} // namespace
