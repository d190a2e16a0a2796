// Lattices of cells, turned, shifted, scattered and with gaps.
#include "study/analyses/cell_lattice.hpp"
#include "study/analyses/rows_of_cells.hpp"

#include <cmath>
#include <iterator>
#include <numbers>
#include <random>
#include <vector>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "support/case_count.hpp"

namespace {

using qmx_study::cell_lattice;
using qmx_study::lattice_of_cells;

struct lattice_case {
    const char* name;
    double along, across; // along the rows, and from row to row
    int nodes, rows;
    double scatter = 0; // standard deviation along either direction
    double missing = 0; // share of the cells
    bool are_shifted = false;
    bool are_rounded = true; // to the millimetre
};

std::vector<t_icdata> cells_of(const lattice_case& made, double degrees) {
    std::mt19937 random(7);
    std::uniform_real_distribution<double> any(0, 1);
    std::normal_distribution<double> off(0, 1);
    const double angle = degrees * std::numbers::pi / 180;
    const double ux = std::cos(angle), uy = std::sin(angle);
    const auto written = [&](double value) {
        return made.are_rounded ? std::round(value * 1000) / 1000 : value;
    };
    std::vector<t_icdata> cells;
    for (int row = 0; row < made.rows; ++row) {
        const double start = made.are_shifted ? made.along * any(random) : 0;
        for (int node = 0; node < made.nodes; ++node) {
            if (any(random) < made.missing) continue;
            const double s = start + node * made.along + made.scatter * off(random);
            const double t = row * made.across + made.scatter * off(random);
            cells.push_back({written(432000.123 + s * ux - t * uy),
                             written(4862000.77 + s * uy + t * ux), 1, 1, 0});
        }
    }
    return cells;
}

// Whether two directions of a lattice agree: a turn by 90 degrees changes the two spacings.
void expect_lattice(const lattice_case& made, double degrees, double tolerance) {
    SCOPED_TRACE(fmt::format("{} at {}", made.name, degrees));
    const cell_lattice found = lattice_of_cells(cells_of(made, degrees));
    EXPECT_TRUE(found.is_lattice);
    const double turned = std::fmod(degrees, 180);
    const bool rows_first = turned < 90;
    const double angle = rows_first ? turned : turned - 90;
    const bool is_square = std::fabs(made.along - made.across) < 1e-9;
    EXPECT_NEAR(found.along, rows_first || is_square ? made.along : made.across, tolerance);
    EXPECT_NEAR(found.across, rows_first || is_square ? made.across : made.along, tolerance);
    EXPECT_LT(std::fabs(std::remainder(found.angle - angle, 90.0)) * std::numbers::pi / 180 *
                  made.nodes * made.along,
              0.2 * made.across);
    EXPECT_EQ(found.rows_are_shifted, made.are_shifted);
}

TEST(CellLattice, IsFoundAtAnyAngle) {
    const lattice_case cases[] = {
        {"lanes", 0.3, 0.5, 320, 24, 0, 0, true},
        {"nodes", 0.3, 0.5, 320, 24},
        {"square", 0.34, 0.34, 150, 60},
        {"feet", 1, 1, 200, 30},
        {"gaps", 0.3, 0.5, 320, 24, 0, 0.3},
        {"lanes_with_gaps", 0.25, 0.6, 400, 12, 0, 0.2, true},
        {"long_nodes", 0.8, 0.3, 200, 40},
    };
    constexpr double angles[] = {30, 123.456, 0, 7.3, 45, 89, 90, 150};
    for (const lattice_case& made : cases)
        for (unsigned k = 0; k < support::cases(std::size(angles), 4); ++k)
            expect_lattice(made, angles[k], 2e-6);
}

TEST(CellLattice, ForgivesScatter) {
    const lattice_case cases[] = {{"scattered", 0.3, 0.5, 400, 30, 0.02},
                                  {"scattered_square", 0.34, 0.34, 200, 80, 0.03, 0.1},
                                  {"scattered_lanes", 0.5, 0.5, 400, 20, 0.03, 0, true}};
    for (const lattice_case& made : cases)
        for (const double degrees : {0.0, 12.5, 30.0, 77.7, 135.0})
            expect_lattice(made, degrees, 2e-4);
}

TEST(CellLattice, HoldsOverALongRoad) {
    expect_lattice({"road", 0.3, 0.5, 20000, 8, 0, 0, true}, 30, 1e-9);
    expect_lattice({"road", 0.34, 0.34, 15000, 10}, 101.3, 1e-6);
}

TEST(CellLattice, IsNoneWherePointsScatterOrMeet) {
    std::mt19937 random(3);
    std::uniform_real_distribution<double> any(0, 1);
    std::vector<t_icdata> cells;
    for (int i = 0; i < 5000; ++i) cells.push_back({100 * any(random), 12 * any(random), 1, 1, 0});
    EXPECT_FALSE(lattice_of_cells(cells).is_lattice);
    EXPECT_GT(lattice_of_cells(cells).along, 0);

    // A second pass over the same nodes, a little beside the first.
    const lattice_case twice{"twice", 0.5, 0.5, 100, 20};
    cells = cells_of(twice, 20);
    const std::size_t once = cells.size();
    for (std::size_t i = 0; i < once; ++i) {
        cells.push_back(cells[i]);
        cells.back().d_x += 0.05;
    }
    EXPECT_FALSE(lattice_of_cells(cells).is_lattice);

    // Lanes along a curve keep their distances in each place, but no direction.
    cells.clear();
    for (int lane = 0; lane < 10; ++lane)
        for (int k = 0; k < 400; ++k) {
            const double radius = 60 + 0.5 * lane, angle = 0.3 * k / 60;
            cells.push_back({radius * std::cos(angle), radius * std::sin(angle), 1, 1, 0});
        }
    EXPECT_FALSE(lattice_of_cells(cells).is_lattice);
}

TEST(CellLattice, FewCellsHaveASpacing) {
    const std::vector<t_icdata> two{{0, 0, 1, 1, 0}, {3, 4, 1, 1, 0}};
    EXPECT_FALSE(lattice_of_cells(two).is_lattice);
    EXPECT_DOUBLE_EQ(lattice_of_cells(two).along, 5);
    EXPECT_EQ(lattice_of_cells({two.front()}).along, 0);
    EXPECT_FALSE(lattice_of_cells(std::vector<t_icdata>(50, two.front())).is_lattice);
}

TEST(CellLattice, DegreesAgreeWithTheLibrary) {
    for (int k = -720; k <= 720; k += 7) {
        const double angle = k * 0.25 * std::numbers::pi / 180;
        const double wanted = std::fmod(k * 0.25 + 720, 360);
        EXPECT_NEAR(
            std::remainder(qmx_study::degrees_of(std::cos(angle), std::sin(angle)) - wanted, 360.0),
            0, 1e-11);
    }
}

} // namespace
