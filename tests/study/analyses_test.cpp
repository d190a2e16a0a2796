// Parts of the analyses: proposed lags, estimated pairs, mesh, bins, the line's chance.
#include "study/analyses/lag_proposal.hpp"
#include "study/analyses/least_squares.hpp"
#include "study/analyses/line_statistics.hpp"
#include "study/analyses/mesh.hpp"
#include "study/analyses/pair_estimate.hpp"
#include "study/analyses/pass_bins.hpp"
#include "study/analyses/quantiles.hpp"
#include "study/analyses/scattered_lattice.hpp"

#include <cmath>
#include <random>
#include <set>
#include <utility>
#include <vector>

#include <boost/math/distributions/students_t.hpp>
#include <fmt/format.h>
#include <gtest/gtest.h>

namespace {

using qmx_study::propose_lags;

TEST(LagProposal, FollowsExtentAndSpacing) {
    const auto layout = [](double diagonal, double spacing) {
        qmx_study::point_layout result;
        result.points = spacing < 8 ? 10000 : 30;
        result.diagonal = result.whole_diagonal = diagonal;
        result.spacing = spacing;
        return result;
    };
    const struct {
        double diagonal, spacing;
        std::optional<double> named_lag;
        std::optional<int> named_lags;
        double lag;
        int lags;
        bool is_shortened;
    } cases[] = {{90, 0.3, {}, {}, 1, 30, false},
                 {3000, 0.3, {}, {}, 1.5, 98, true}, // a road: five spacings, not a thirtieth
                 {90, 5, {}, {}, 5, 6, false},       // a few wide lanes: one spacing
                 {900, 8, {}, {}, 30, 10, false},    // few points: a tenth
                 {90, 0.3, 2.0, {}, 2, 15, false},
                 {90, 0.3, 0.1, {}, 0.1, 98, true},
                 {90, 0.3, {}, 10, 3, 10, false},
                 {90, 0.3, 7.0, 12, 7, 12, false}};
    for (const auto& row : cases) {
        const auto proposal =
            propose_lags(layout(row.diagonal, row.spacing), row.named_lag, row.named_lags);
        SCOPED_TRACE(fmt::format("diagonal {} spacing {}", row.diagonal, row.spacing));
        EXPECT_DOUBLE_EQ(proposal.lag, row.lag);
        EXPECT_EQ(proposal.lags, row.lags);
        EXPECT_EQ(proposal.is_shortened, row.is_shortened);
    }
}

TEST(LagProposal, LayoutIsThatOfThePoints) {
    // 40 by 1000 cells of 0.34 by 0.5, each place twice, at large coordinates.
    std::vector<t_icdata> points;
    for (int i = 0; i < 40000; ++i)
        for (int twice = 0; twice < 2; ++twice)
            points.push_back({432000 + 0.5 * (i % 40), 4862000 + 0.34 * (i / 40), 1, 1, 0});
    const auto layout = qmx_study::layout_of(points);
    EXPECT_NEAR(layout.spacing, 0.34, 1e-9);
    EXPECT_NEAR(layout.diagonal, std::hypot(19.5, 339.66), 1e-6);
    EXPECT_FALSE(layout.has_stray_points());
    points.push_back({342000, 4862000, 1, 1, 0}); // 90 km to the west
    const auto astray = qmx_study::layout_of(points);
    EXPECT_TRUE(astray.has_stray_points());
    EXPECT_NEAR(astray.diagonal, layout.diagonal, 1);
    EXPECT_NEAR(astray.spacing, 0.34, 1e-9);
}

TEST(PairEstimate, IsWithinATenthOfTheCount) {
    const struct {
        double width, height;
        int count;
        double cut_off;
    } cases[] = {{100, 100, 4000, 10}, {100, 100, 4000, 300}, {1000, 6, 4000, 60}};
    for (const auto& row : cases) {
        std::mt19937 random(11);
        std::uniform_real_distribution<double> x(-row.width, 0), y(-3, row.height - 3);
        std::vector<t_icdata> points;
        for (int i = 0; i < row.count; ++i) points.push_back({x(random), y(random), 0, 0, 0});
        double pairs = 0;
        for (std::size_t i = 0; i < points.size(); ++i)
            for (std::size_t j = i + 1; j < points.size(); ++j)
                pairs += std::hypot(points[i].d_x - points[j].d_x, points[i].d_y - points[j].d_y) <=
                         row.cut_off;
        EXPECT_NEAR(qmx_study::estimated_pairs(points, row.cut_off) / pairs, 1, 0.1)
            << row.width << " by " << row.height << ", " << row.cut_off;
    }
}

TEST(Student, AgreesWithAnIndependentDistribution) {
    for (const int freedom : {1, 2, 3, 4, 5, 8, 27, 28, 101, 998, 4999})
        for (const double t : {0.0, 1e-3, 0.5, 1.0, 2.0, 2.5, 7.0, -3.0}) {
            const boost::math::students_t_distribution<double> student(freedom);
            const double truth =
                2 * boost::math::cdf(boost::math::complement(student, std::fabs(t)));
            EXPECT_NEAR(qmx_study::two_sided_student(t, freedom), truth, 1e-15 + 5e-17 * freedom)
                << t << " " << freedom;
        }
    EXPECT_EQ(qmx_study::two_sided_student(INFINITY, 5), 0);
}

// Positions column by column, written to the thousandth.
std::vector<t_icdata> lattice(double spacing, int count, int gap_after = 0, double turn = 0) {
    std::vector<t_icdata> points;
    for (int i = 0; i < count; ++i)
        for (int j = 0; j < 12; ++j) {
            const double x = (i < gap_after || gap_after == 0 ? i : i + 1000) * spacing;
            const double y = j * spacing;
            const auto written = [](double v) { return std::round(v * 1000) / 1000; };
            points.push_back({written(432000 + x * std::cos(turn) - y * std::sin(turn)),
                              written(4862000 + x * std::sin(turn) + y * std::cos(turn)), 1, 0, 0});
        }
    return points;
}

TEST(Mesh, IsReadOffTheLinesOfALattice) {
    using qmx_study::lattice_of;
    for (const double spacing : {0.3, 0.34, 0.3048, 1.0, 0.45}) {
        const auto mesh = lattice_of(lattice(spacing, 700, 300));
        ASSERT_TRUE(mesh) << spacing;
        EXPECT_EQ(mesh->x, spacing);
        EXPECT_NEAR(mesh->y, spacing, 1e-3 / 11);
    }
    auto astray = lattice(0.34, 100); // one in three hundred
    for (std::size_t i = 7; i < astray.size(); i += 300) astray[i].d_x += 0.11;
    EXPECT_TRUE(lattice_of(astray));
    for (std::size_t i = 8; i < astray.size(); i += 30) astray[i].d_x += 0.11;
    EXPECT_FALSE(lattice_of(astray));
    EXPECT_FALSE(lattice_of(lattice(0.34, 100, 0, 0.5))); // turned
    EXPECT_FALSE(lattice_of(lattice(0.34, 2)));           // two columns could be any two
    EXPECT_FALSE(lattice_of({}));
}

TEST(PassBins, CountsGoToTheFirstBinThatHoldsThem) {
    using namespace qmx_study;
    std::vector<t_icdata> points;
    for (const double count : {3.9, -0.5, 5.0, 10000.0, 10001.0, 3e9, double{NAN}, -7.0})
        points.push_back({0, 0, count, 0, 0});
    const std::vector<t_passbin> bins = read_pass_bins(" 0-3, 3-5 ,8-");
    const bin_counts counts = count_in_bins(tally_passes(points), bins);
    EXPECT_EQ(counts.in_bin, (std::vector<std::int64_t>{2, 1, 1}));
    EXPECT_EQ(counts.total_outside(), 4);
    EXPECT_EQ(counts.outside.begin()->first, INT32_MIN);
    EXPECT_TRUE(have_overlap(bins));
    EXPECT_FALSE(have_overlap(read_pass_bins("5-,1-2,3-4")));
}

// Values by another package (NumPy, method "linear").
TEST(Quantiles, AreThoseOfTypeSeven) {
    const std::vector<double> values = {3, 1, 4, 1, 5, 9, 2, 6, 5, 3.5};
    const std::pair<double, double> wanted[] = {{0, 1},        {10, 1},       {25, 2.25},
                                                {33.3, 2.997}, {50, 3.75},    {75, 5},
                                                {90, 6.3},     {99.9, 8.973}, {100, 9}};
    for (const auto& [percent, value] : wanted)
        EXPECT_NEAR(qmx_study::quantiles_of(values, {percent})[0].value, value, 1e-14) << percent;
    EXPECT_TRUE(std::isnan(qmx_study::quantiles_of({}, {50})[0].value));
    EXPECT_EQ(qmx_study::quantiles_of({7}, {90})[0].value, 7);
    std::vector<t_icdata> points;
    for (const double value : values) points.push_back({0, 0, value, 0, 0});
    EXPECT_EQ(qmx_study::share_at(points, 5, false).counted, 4);
    EXPECT_EQ(qmx_study::share_at(points, 1, true).percent(), 20);
}

// A cubic through seven pairs, in exact fractions.
TEST(LeastSquares, CoefficientsAndTheirErrorsAreExact) {
    const std::vector<double> x = {0, 1, 2, 4, 7, 8, 11}, y = {3, 1, 4, 1, 5, 9, 2};
    const auto found = qmx_study::polynomial_least_squares(x, y, 3);
    ASSERT_TRUE(found);
    const double coefficients[] = {3.4077850403944128, -2.305636976142409, 0.7252544817821166,
                                   -0.04767966707591906};
    const double errors[] = {2.1614885375686663, 2.0885094485485896, 0.45445934946239397,
                             0.026470304814307927};
    for (std::size_t k = 0; k < 4; ++k) {
        EXPECT_NEAR(found->coefficients[k], coefficients[k], 1e-13) << k;
        EXPECT_NEAR(found->standard_errors[k], errors[k], 1e-13) << k;
    }
    EXPECT_NEAR(found->r_squared, 63.630077045326, 1e-11);
    EXPECT_NEAR(found->standard_error, 2.405109072554974, 1e-13);
    // Through as many pairs as terms the curve is exact and there is nothing to tell an error from.
    const auto exact = qmx_study::polynomial_least_squares({1, 2, 3}, {1, 4, 9}, 2);
    ASSERT_TRUE(exact);
    EXPECT_NEAR(exact->coefficients[2], 1, 1e-13);
    EXPECT_TRUE(std::isnan(exact->standard_errors[2]));
    EXPECT_FALSE(qmx_study::polynomial_least_squares({1, 1, 2}, {1, 2, 3}, 2));
    EXPECT_FALSE(qmx_study::polynomial_least_squares({1, 2}, {1, 2}, 2));
}

TEST(ScatteredLattice, CellsAreFoundWherePositionsScatterAboutThem) {
    std::mt19937 random(3);
    const auto scattered = [&](double spacing, double scatter, int columns, int rows) {
        std::normal_distribution<double> off(0, scatter);
        std::vector<t_icdata> points;
        for (int i = 0; i < columns; ++i)
            for (int j = 0; j < rows; ++j)
                points.push_back({432000 + spacing * i + off(random),
                                  4862000 + spacing * j + off(random), 1, 0, 0});
        return points;
    };
    for (const double spacing : {0.3, 0.34, 0.3048, 1.0}) {
        SCOPED_TRACE(spacing);
        auto points = scattered(spacing, 0.02, 900, 20);
        const auto found = qmx_study::scattered_lattice_of(points, std::nullopt);
        ASSERT_TRUE(found);
        EXPECT_NEAR(found->mesh.x, spacing, 1e-4);
        EXPECT_NEAR(found->mesh.y, spacing, 2e-3); // over twenty rows only
        EXPECT_NEAR(found->scatter, 0.02 * std::sqrt(2), 0.002);
        qmx_study::snap(points, *found);
        std::set<std::pair<double, double>> nodes;
        for (const t_icdata& point : points) nodes.insert({point.d_x, point.d_y});
        EXPECT_EQ(nodes.size(), points.size());
    }
    // Too much scatter, or none but chance: no lattice.
    EXPECT_FALSE(qmx_study::scattered_lattice_of(scattered(0.34, 0.12, 300, 20), std::nullopt));
    EXPECT_FALSE(qmx_study::scattered_lattice_of(scattered(0.34, 5, 300, 20), std::nullopt));
    EXPECT_FALSE(qmx_study::scattered_lattice_of({}, std::nullopt));
    const auto named = scattered(0.34, 0.02, 300, 20);
    EXPECT_TRUE(qmx_study::scattered_lattice_of(named, qmx_study::mesh_size{0.34, 0.34}));
    EXPECT_FALSE(qmx_study::scattered_lattice_of(named, qmx_study::mesh_size{0.5, 0.5}));
}

} // namespace
