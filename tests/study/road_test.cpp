// Stations along a road, and the stretches that are weak.
#include "study/analyses/road.hpp"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <random>
#include <vector>

#include <fmt/format.h>
#include <gtest/gtest.h>

namespace {

using namespace qmx_study;

// A strip of cells from a corner on, in a direction anticlockwise from the eastings.
std::vector<t_icdata> strip(double degrees, double length, double width, double spacing) {
    const double angle = degrees * std::numbers::pi / 180;
    const double ux = std::cos(angle), uy = std::sin(angle);
    std::mt19937 random(11);
    std::normal_distribution<double> noise(0, 3);
    std::vector<t_icdata> cells;
    for (double t = spacing / 2; t < width; t += spacing)
        for (double s = spacing / 2; s < length; s += spacing)
            cells.push_back({432000 + s * ux - t * uy, 4862000 + s * uy + t * ux,
                             40 + 8 * std::sin(s / 9) + noise(random), 1 + int(s) % 4, 0});
    return cells;
}

TEST(RoadFrame, IsTheLongDirectionOfTheStrip) {
    for (const double degrees : {0.0, 30.0, 45.0, 90.0, 101.5, 150.0, 179.0}) {
        SCOPED_TRACE(degrees);
        const std::vector<t_icdata> cells = strip(degrees, 90, 12, 0.5);
        const road_frame frame = frame_of(cells, lattice_of_cells(cells));
        ASSERT_EQ(frame.axis.size(), 2U);
        EXPECT_NEAR(frame.length, 90, 1e-6);
        EXPECT_NEAR(frame.least_offset, -6, 1e-6);
        EXPECT_NEAR(frame.most_offset, 6, 1e-6);
        EXPECT_FALSE(frame.is_bent);
        EXPECT_LE(frame.axis[0].x, frame.axis[1].x + 1e-9);
        // In closed form: the way along the axis, and to the right of it.
        const double ux = (frame.axis[1].x - frame.axis[0].x) / frame.length;
        const double uy = (frame.axis[1].y - frame.axis[0].y) / frame.length;
        EXPECT_NEAR(std::fabs(ux * std::sin(degrees * std::numbers::pi / 180) -
                              uy * std::cos(degrees * std::numbers::pi / 180)),
                    0, 1e-7);
        for (const auto& [station, offset] : {std::pair{12.25, -3.5}, {0.0, 0.0}, {88.0, 5.0}}) {
            const road_point place = position_at(frame, station, offset);
            EXPECT_NEAR(place.x, frame.axis[0].x + station * ux + offset * uy, 1e-8);
            EXPECT_NEAR(place.y, frame.axis[0].y + station * uy - offset * ux, 1e-8);
            const road_point back = station_and_offset(frame, place.x, place.y);
            EXPECT_NEAR(back.x, station, 1e-8);
            EXPECT_NEAR(back.y, offset, 1e-8);
        }
    }
}

TEST(RoadFrame, FollowsABend) {
    // A quarter of a circle of 100 m, 8 m wide.
    std::vector<t_icdata> cells;
    for (double radius = 96.25; radius < 104; radius += 0.5)
        for (double way = 0; way < 50 * std::numbers::pi; way += 0.5)
            cells.push_back({radius * std::cos(way / 100), radius * std::sin(way / 100), 1, 1, 0});
    const road_frame frame = frame_of(cells, lattice_of_cells(cells));
    EXPECT_TRUE(frame.is_bent);
    EXPECT_TRUE(frame.follows_bend);
    EXPECT_GT(frame.axis.size(), 4U);
    EXPECT_NEAR(frame.length, 50 * std::numbers::pi, 2);
    EXPECT_LT(frame.most_offset - frame.least_offset, 12);
    // Stations run on along the arc.
    for (double way = 10; way < 145; way += 5) {
        const auto at = [&](double on) {
            return station_and_offset(frame, 100 * std::cos(on / 100), 100 * std::sin(on / 100)).x;
        };
        EXPECT_NEAR(std::fabs(at(way + 5) - at(way)), 5, 0.7) << way;
    }
    for (const double station : {5.0, 60.0, 120.0}) {
        const road_point place = position_at(frame, station, 1);
        EXPECT_NEAR(station_and_offset(frame, place.x, place.y).x, station, 0.3);
    }
}

TEST(RoadFrame, LeavesAHeapStraight) {
    std::vector<t_icdata> cells;
    for (int i = 0; i < 3000; ++i) { // a ring
        const double angle = i * 0.01;
        cells.push_back({50 * std::cos(angle), 50 * std::sin(angle), 1, 1, 0});
    }
    const road_frame frame = frame_of(cells, lattice_of_cells(cells));
    EXPECT_TRUE(frame.is_bent);
    EXPECT_FALSE(frame.follows_bend);
    EXPECT_EQ(frame.axis.size(), 2U);
}

// What a station shows, cell by cell.
struct plain_window {
    double cells = 0, values = 0, met = 0;
};
plain_window window_about(const road_answer& answer, const std::vector<t_icdata>& cells,
                          double from, double to, double limit) {
    plain_window found;
    for (const t_icdata& cell : cells) {
        const double station = station_and_offset(answer.frame, cell.d_x, cell.d_y).x;
        if (station < from || station >= to) continue;
        ++found.cells;
        found.values += cell.d_val;
        found.met += cell.d_val >= limit;
    }
    return found;
}

TEST(Road, StationsAndWeakStretchesAreThoseOfAPlainLoop) {
    for (const double degrees : {17.0, 120.0}) {
        const std::vector<t_icdata> cells = strip(degrees, 230, 6, 0.43);
        road_question question;
        question.limit = cell_limit{38, false};
        question.least_share = 60;
        question.has_passes = true;
        const road_answer answer = analyse(question, cells, lattice_of_cells(cells));
        EXPECT_EQ(answer.step, 1);
        EXPECT_EQ(answer.window, 10);
        std::int64_t all = 0;
        std::vector<bool> is_weak;
        for (const road_station& station : answer.stations) {
            SCOPED_TRACE(station.from);
            const double middle = station.from + 0.5;
            const plain_window own = window_about(answer, cells, station.from, station.to, 38);
            const plain_window about = window_about(answer, cells, middle - 5, middle + 5, 38);
            EXPECT_EQ(static_cast<double>(station.cells), own.cells);
            EXPECT_NEAR(station.mean, own.values / own.cells, 1e-9);
            EXPECT_NEAR(station.running_mean, about.values / about.cells, 1e-9);
            EXPECT_NEAR(station.share, 100 * about.met / about.cells, 1e-9);
            all += station.cells;
            is_weak.push_back(100 * about.met / about.cells < 60);
        }
        EXPECT_EQ(all, static_cast<std::int64_t>(cells.size()));
        // Each weak station lies in a stretch; each stretch is a window long and weak in its middle.
        ASSERT_FALSE(answer.weak.empty());
        for (std::size_t k = 0; k < is_weak.size(); ++k) {
            const auto holds = [&](const weak_stretch& stretch) {
                return stretch.from <= answer.stations[k].from &&
                       stretch.to >= answer.stations[k].to;
            };
            if (is_weak[k]) {
                EXPECT_TRUE(std::any_of(answer.weak.begin(), answer.weak.end(), holds)) << k;
            }
        }
        double end_before = -1;
        for (const weak_stretch& stretch : answer.weak) {
            EXPECT_GT(stretch.from, end_before);
            end_before = stretch.to;
            EXPECT_GE(stretch.to - stretch.from, 10 - 1e-9);
            const plain_window inside = window_about(answer, cells, stretch.from, stretch.to, 38);
            EXPECT_EQ(static_cast<double>(stretch.cells), inside.cells);
            EXPECT_NEAR(stretch.share, 100 * inside.met / inside.cells, 1e-9);
            EXPECT_NEAR(stretch.mean, inside.values / inside.cells, 1e-9);
        }
    }
}

TEST(Road, NamesTheStretchThatWasMadeWeak) {
    std::vector<t_icdata> cells = strip(0, 200, 6, 0.5);
    for (t_icdata& cell : cells) {
        const double station = cell.d_x - 432000;
        cell.d_val = station > 80 && station < 104 ? 20 : station > 150 && station < 151 ? 30 : 45;
    }
    road_question question;
    question.window = 8;
    question.limit = cell_limit{40, false};
    question.least_share = 90;
    road_answer answer = analyse(question, cells, lattice_of_cells(cells));
    ASSERT_EQ(answer.weak.size(), 2U);
    EXPECT_NEAR(answer.weak[0].from, 80, 4);
    EXPECT_NEAR(answer.weak[0].to, 104, 4);
    EXPECT_EQ(answer.weak[0].lowest, 20);
    EXPECT_LE(answer.weak[1].from, 150);
    EXPECT_GE(answer.weak[1].to, 151);
    // Without a limit a stretch is weak by its mean.
    question.limit.reset();
    answer = analyse(question, cells, lattice_of_cells(cells));
    ASSERT_EQ(answer.weak.size(), 1U);
    EXPECT_EQ(answer.weak_by, "mean");
    EXPECT_TRUE(std::isnan(answer.weak[0].share));
    EXPECT_NEAR(answer.weak[0].from, 80, 4);
}

TEST(Road, TwoCellsAndGapsHaveStations) {
    road_question question;
    const std::vector<t_icdata> two{{0, 0, 5, 1, 0}, {3, 4, 7, 1, 0}};
    const road_answer answer = analyse(question, two, lattice_of_cells(two));
    EXPECT_NEAR(answer.frame.length, 10, 1e-9); // half a spacing beyond either cell
    std::int64_t all = 0;
    for (const road_station& station : answer.stations) all += station.cells;
    EXPECT_EQ(all, 2);
    EXPECT_EQ(answer.step, 10); // no station too short to hold a cell
    const std::vector<t_icdata> apart{{0, 0, 5, 1, 0}, {1, 0, 6, 1, 0}, {40, 0, 7, 1, 0}};
    const road_answer gap = analyse(question, apart, lattice_of_cells(apart));
    EXPECT_TRUE(std::isnan(gap.stations[gap.stations.size() / 2].mean));
}

} // namespace
