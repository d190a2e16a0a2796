// Tracks on a lattice: against a plain version of the definition, and where the passes are known.
#include "study/analyses/gridding.hpp"

#include <algorithm>
#include <cmath>
#include <map>
#include <random>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace {

using namespace qmx_study;

struct spot {
    double x, y;
};
struct plain_place {
    spot at;
    std::vector<double> values;
    int track, step;
};

spot direction(spot from, spot to) {
    const double length = 1 / std::hypot(to.x - from.x, to.y - from.y);
    return {length * (to.x - from.x), length * (to.y - from.y)};
}

bool is_left(spot a, spot b, spot p, int sign) {
    const double side = (b.x - a.x) * (p.y - a.y) - (b.y - a.y) * (p.x - a.x);
    return sign > 0 ? side >= 0 : side <= 0;
}
bool in_triangle(spot p, spot a, spot b, spot c) {
    const auto all = [&](int sign) {
        return is_left(a, b, p, sign) && is_left(b, c, p, sign) && is_left(c, a, p, sign);
    };
    const bool in_box = p.x >= std::min({a.x, b.x, c.x}) && p.x <= std::max({a.x, b.x, c.x}) &&
                        p.y >= std::min({a.y, b.y, c.y}) && p.y <= std::max({a.y, b.y, c.y});
    return in_box && (all(1) || all(-1));
}

// Between a line across heading `u` at `a` and one across `v` at `b`.
bool in_swath(spot p, spot a, spot u, spot b, spot v, double width) {
    const double half = width / 2;
    const spot left_a{a.x + half * -u.y, a.y + half * u.x};
    const spot right_a{a.x - half * -u.y, a.y - half * u.x};
    const spot right_b{b.x - half * -v.y, b.y - half * v.x};
    const spot left_b{b.x + half * -v.y, b.y + half * v.x};
    return in_triangle(p, left_a, right_a, right_b) || in_triangle(p, left_a, right_b, left_b);
}

bool covers(const std::vector<plain_place>& track, std::size_t i, spot centre, double width) {
    const spot here = track[i].at;
    const auto middle = [&](std::size_t k) {
        return spot{0.5 * (here.x + track[k].at.x), 0.5 * (here.y + track[k].at.y)};
    };
    const bool has_before = i > 0;
    const bool has_after = i + 1 < track.size();
    spot in{}, out{};
    if (has_before) in = direction(track[i - 1].at, here);
    if (has_after) out = direction(here, track[i + 1].at);
    spot arriving = in;
    spot leaving = out;
    if (has_before && has_after && in.x * out.x + in.y * out.y >= 0)
        arriving = leaving = direction({0, 0}, {in.x + out.x, in.y + out.y});
    return (has_before && in_swath(centre, middle(i - 1), in, here, arriving, width)) ||
           (has_after && in_swath(centre, here, leaving, middle(i + 1), out, width));
}

double mean_of(const std::vector<double>& values) {
    double sum = 0;
    for (const double value : values) sum += value;
    return sum / static_cast<double>(values.size());
}

struct plain_visit {
    std::vector<double> values;
    int track, step;
};
using plain_grid = std::map<std::pair<int, int>, std::vector<plain_visit>>; // by row, column

// Every place is asked about every cell.
plain_grid plainly(const std::vector<track_record>& records, const grid_settings& settings,
                   int reach) {
    std::map<int, std::vector<std::vector<plain_place>>> tracks; // of each number its runs
    std::map<int, spot> last;
    std::vector<std::pair<std::pair<int, std::size_t>, std::size_t>> order; // (number, run), place
    int runs = 0;
    for (const track_record& record : records) {
        auto& of_number = tracks[record.track];
        const spot at{record.x, record.y};
        const bool follows =
            !of_number.empty() &&
            std::hypot(at.x - last[record.track].x, at.y - last[record.track].y) <= settings.gap;
        last[record.track] = at;
        if (!follows) of_number.emplace_back();
        auto& run = of_number.back();
        if (follows &&
            std::hypot(at.x - run.back().at.x, at.y - run.back().at.y) < settings.cell / 2) {
            run.back().values.push_back(record.value);
            continue;
        }
        const int track = follows ? run.back().track : runs++;
        run.push_back({at, {record.value}, track, static_cast<int>(run.size())});
        order.push_back({{record.track, of_number.size() - 1}, run.size() - 1});
    }
    plain_grid grid;
    for (const auto& [where, number] : order) {
        const auto& run = tracks[where.first][where.second];
        const plain_place& here = run[number];
        for (int row = -reach; row <= reach; ++row)
            for (int column = -reach; column <= reach; ++column) {
                const spot centre{(column + 0.5) * settings.cell, (row + 0.5) * settings.cell};
                const bool is_own = std::floor(here.at.x / settings.cell) == column &&
                                    std::floor(here.at.y / settings.cell) == row;
                if (!is_own &&
                    !(settings.drum_width > 0 && covers(run, number, centre, settings.drum_width)))
                    continue;
                auto& visits = grid[{row, column}];
                if (visits.empty() || visits.back().track != here.track ||
                    here.step - visits.back().step > 2)
                    visits.push_back({{}, here.track, here.step});
                visits.back().values.push_back(mean_of(here.values));
                visits.back().step = here.step;
            }
    }
    return grid;
}

std::vector<grid_entry> entries_of(const plain_grid& grid, grid_passes passes) {
    std::vector<grid_entry> entries;
    for (const auto& [cell, visits] : grid) {
        std::vector<double> means;
        for (const plain_visit& visit : visits) {
            means.push_back(mean_of(visit.values));
            if (passes == grid_passes::all)
                entries.push_back(
                    {cell.second, cell.first, static_cast<int>(means.size()), means.back()});
        }
        if (passes != grid_passes::all)
            entries.push_back({cell.second, cell.first, static_cast<int>(means.size()),
                               passes == grid_passes::last ? means.back() : mean_of(means)});
    }
    return entries;
}

// Tracks that wander, stand still, turn sharply, jump and cross one another.
std::vector<track_record> random_tracks(std::mt19937& bits) {
    const auto pick = [&](double low, double high) {
        return std::uniform_real_distribution<double>(low, high)(bits);
    };
    const int machines = 1 + static_cast<int>(bits() % 3);
    std::vector<track_record> last;
    std::vector<double> heading;
    for (int i = 0; i < machines; ++i) {
        last.push_back({pick(-4, 4), pick(-4, 4), 0, i});
        heading.push_back(pick(0, 6.3));
    }
    const bool is_on_lattice = bits() % 4 == 0; // centres on rims, steps of nothing
    std::vector<track_record> records;
    for (int k = static_cast<int>(bits() % 60) + 1; k > 0; --k) {
        const std::size_t i = bits() % last.size();
        const auto what = bits() % 12;
        heading[i] += what == 0 ? 3.14159 : pick(-0.4, 0.4);
        const double step = what == 1 ? 0 : what == 2 ? 8 : pick(0.05, 0.9);
        track_record& at = last[i];
        at.x = std::clamp(at.x + step * std::cos(heading[i]), -6.0, 6.0);
        at.y = std::clamp(at.y + step * std::sin(heading[i]), -6.0, 6.0);
        if (is_on_lattice) {
            at.x = std::round(at.x * 2) / 2;
            at.y = std::round(at.y * 2) / 2;
        }
        at.value = pick(0, 50);
        records.push_back(at);
    }
    return records;
}

TEST(Gridding, IsThatOfThePlainLoop) {
    std::mt19937 bits(8);
    progress quiet;
    for (int trial = 0; trial < 400; ++trial) {
        SCOPED_TRACE(trial);
        const std::vector<track_record> records = random_tracks(bits);
        const double cells[] = {0.25, 0.4, 1};
        const double widths[] = {0, 0.3, 1, 2.1};
        grid_settings settings{cells[bits() % 3], widths[bits() % 4], bits() % 2 ? 2.0 : 20.0, {}};
        settings.passes = static_cast<grid_passes>(bits() % 3);
        const auto found = grid_tracks(records, settings, quiet).entries;
        const auto wanted = entries_of(
            plainly(records, settings, static_cast<int>(8 / settings.cell)), settings.passes);
        ASSERT_EQ(found.size(), wanted.size());
        for (std::size_t i = 0; i < found.size(); ++i) {
            ASSERT_EQ(found[i].column, wanted[i].column);
            ASSERT_EQ(found[i].row, wanted[i].row);
            ASSERT_EQ(found[i].pass, wanted[i].pass);
            ASSERT_EQ(found[i].value, wanted[i].value);
        }
    }
}

// Lanes 2 m wide along a heading, rolled back and forth: every cell of them has as many passes as its
// lane has runs, with the value of the run. Where the machine turns back on its track, and in the half
// step that no record reaches beyond, the ends are left out.
TEST(Gridding, CountsThePassesOfLanesThatWereRolledBackAndForth) {
    constexpr int lanes = 4;
    constexpr int runs_of[lanes] = {1, 4, 6, 3};
    for (const double azimuth : {0.0, 0.5, 1.2, 2.9}) {
        SCOPED_TRACE(azimuth);
        const spot along{std::cos(azimuth), std::sin(azimuth)};
        std::vector<track_record> records;
        for (int lane = 0; lane < lanes; ++lane)
            for (int run = 0; run < runs_of[lane]; ++run)
                for (int k = 0; k <= 100; ++k) {
                    const double s = 0.3 * (run % 2 == 0 ? k : 100 - k);
                    const double t = 2.0 * lane;
                    records.push_back({500 + s * along.x - t * along.y,
                                       800 + s * along.y + t * along.x, 10.0 * lane + run + 1, 0});
                }
        progress quiet;
        const grid_settings settings{0.25, 2, 3, grid_passes::last};
        std::vector<std::int64_t> cells(lanes);
        for (const grid_entry& entry : grid_tracks(records, settings, quiet).entries) {
            const double x = cell_centre(entry.column, 0.25) - 500;
            const double y = cell_centre(entry.row, 0.25) - 800;
            const double s = x * along.x + y * along.y;
            const double lane = (y * along.x - x * along.y) / 2 + 0.5;
            const double off_rim = std::fabs(lane - std::round(lane)) * 2;
            if (s < 1 || s > 29 || off_rim < 1e-6 || lane < 0 || lane > lanes) continue;
            const auto which = static_cast<int>(lane);
            EXPECT_EQ(entry.pass, runs_of[which]) << s << " " << lane;
            EXPECT_EQ(entry.value, 10 * which + runs_of[which]) << s << " " << lane;
            ++cells[static_cast<std::size_t>(which)];
        }
        // 28 m by 2 m, but for the cells that the ends cut and, along the axes, those on the rims.
        for (const std::int64_t count : cells)
            EXPECT_NEAR(static_cast<double>(count), 28 * 2 * 16, 112 + 20);
    }
}

} // namespace
