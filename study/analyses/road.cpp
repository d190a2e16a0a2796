#include "study/analyses/road.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

namespace qmx_study {

namespace {

constexpr double unknown = std::numeric_limits<double>::quiet_NaN();
constexpr double most_stations = 300;
constexpr double usual_window = 10; // metres
constexpr std::size_t least_steps = 5;

// Sums over the cells of half a step of the axis: stations and windows are made of whole ones.
struct cell_sums {
    std::int64_t cells = 0, satisfying = 0;
    double values = 0, passes = 0;

    void add(const cell_sums& further) {
        cells += further.cells;
        satisfying += further.satisfying;
        values += further.values;
        passes += further.passes;
    }
    double per_cell(double sum) const {
        return cells > 0 ? sum / static_cast<double>(cells) : unknown;
    }
    double mean() const { return per_cell(values); }
    double share() const { return 100 * per_cell(static_cast<double>(satisfying)); }
};

// The least of 1, 2, 5, 10, ... that is no less.
double round_number_from(double length) {
    double power = 1;
    while (power > length) power /= 10;
    while (power * 10 <= length) power *= 10;
    for (const double digit : {1.0, 2.0, 5.0})
        if (digit * power >= length * (1 - 1e-9)) return digit * power;
    return 10 * power;
}

// Prefix sums: entry k holds all halves before half k.
std::vector<cell_sums> prefix_sums(const road_question& question, const road_answer& answer,
                                   const std::vector<t_icdata>& cells) {
    const std::size_t halves = 2 * answer.stations.size();
    std::vector<cell_sums> sums(halves + 1);
    for (const t_icdata& cell : cells) {
        const double station = station_and_offset(answer.frame, cell.d_x, cell.d_y).x;
        const double half = std::floor(2 * station / answer.step);
        const auto at =
            static_cast<std::size_t>(std::clamp(half, 0.0, static_cast<double>(halves - 1)));
        cell_sums one{1, question.limit && question.limit->is_met(cell.d_val), cell.d_val,
                      static_cast<double>(cell.i_passno)};
        sums[at + 1].add(one);
    }
    for (std::size_t k = 1; k < sums.size(); ++k) sums[k].add(sums[k - 1]);
    return sums;
}

cell_sums between(const std::vector<cell_sums>& sums, std::size_t first, std::size_t end) {
    const cell_sums& a = sums[first];
    const cell_sums& b = sums[end];
    return {b.cells - a.cells, b.satisfying - a.satisfying, b.values - a.values,
            b.passes - a.passes};
}

void fill_stations(const road_question& question, road_answer& answer,
                   const std::vector<cell_sums>& sums) {
    const std::size_t halves = sums.size() - 1;
    const auto reach = static_cast<std::size_t>(std::llround(answer.window / answer.step));
    for (std::size_t k = 0; k < answer.stations.size(); ++k) {
        road_station& station = answer.stations[k];
        station.from = static_cast<double>(k) * answer.step;
        station.to = k + 1 == answer.stations.size() ? answer.frame.length
                                                     : static_cast<double>(k + 1) * answer.step;
        const cell_sums own = between(sums, 2 * k, 2 * k + 2);
        const std::size_t middle = 2 * k + 1;
        const cell_sums about =
            between(sums, middle - std::min(middle, reach), std::min(middle + reach, halves));
        station.cells = own.cells;
        station.mean = own.mean();
        station.running_mean = about.mean();
        station.share = question.limit ? about.share() : unknown;
        station.passes = question.has_passes ? about.per_cell(about.passes) : unknown;
    }
}

struct value_spread {
    double mean = 0, deviation = 0;
};

value_spread spread_of(const std::vector<t_icdata>& cells) {
    value_spread spread;
    const auto count = static_cast<double>(cells.size());
    const double start = cells.front().d_val;
    for (const t_icdata& cell : cells) spread.mean += cell.d_val - start;
    spread.mean = start + spread.mean / count;
    for (const t_icdata& cell : cells)
        spread.deviation += (cell.d_val - spread.mean) * (cell.d_val - spread.mean);
    spread.deviation = cells.size() > 1 ? std::sqrt(spread.deviation / (count - 1)) : 0;
    return spread;
}

// Whole stations from first to end.
struct station_run {
    std::size_t first, end;
};

// Stations in a row whose window is weak. A run shorter than the window stands for the window about its
// middle; runs that then meet are one.
std::vector<station_run> weak_runs(const road_answer& answer) {
    const auto is_weak = [&](const road_station& station) {
        return (answer.weak_by == "share" ? station.share : station.running_mean) <
               answer.weak_below; // false without cells
    };
    const std::size_t count = answer.stations.size();
    const auto least =
        std::min(count, static_cast<std::size_t>(std::llround(answer.window / answer.step)));
    std::vector<station_run> runs;
    for (std::size_t k = 0; k < count;) {
        if (!is_weak(answer.stations[k])) {
            ++k;
            continue;
        }
        station_run run{k, k};
        while (run.end < count && is_weak(answer.stations[run.end])) ++run.end;
        k = run.end;
        for (bool to_the_left = false; run.end - run.first < least; to_the_left = !to_the_left) {
            if (to_the_left && run.first > 0) --run.first;
            if (!to_the_left && run.end < count) ++run.end;
        }
        if (!runs.empty() && runs.back().end >= run.first) {
            runs.back().end = run.end;
        } else {
            runs.push_back(run);
        }
    }
    return runs;
}

void find_weak(const road_question& question, road_answer& answer,
               const std::vector<cell_sums>& sums) {
    for (const station_run& run : weak_runs(answer)) {
        weak_stretch stretch;
        stretch.from = answer.stations[run.first].from;
        stretch.to = answer.stations[run.end - 1].to;
        const cell_sums inside = between(sums, 2 * run.first, 2 * run.end);
        stretch.cells = inside.cells;
        stretch.mean = inside.mean();
        stretch.share = question.limit ? inside.share() : unknown;
        stretch.lowest = unknown;
        for (std::size_t k = run.first; k < run.end; ++k)
            stretch.lowest = std::fmin(stretch.lowest, answer.stations[k].running_mean);
        answer.weak.push_back(stretch);
    }
}

} // namespace

road_answer analyse(const road_question& question, const std::vector<t_icdata>& cells,
                    const cell_lattice& lattice) {
    road_answer answer;
    answer.lattice = lattice;
    answer.frame = frame_of(cells, lattice);
    // Two cells at least, so that a station of a full strip holds some.
    answer.step = round_number_from(std::fmax(answer.frame.length / most_stations,
                                              2 * std::fmax(lattice.along, lattice.across)));
    // What is left of less than half a step belongs to the last station.
    const double steps = std::fmax(1, std::round(answer.frame.length / answer.step));
    answer.stations.resize(static_cast<std::size_t>(steps));
    const double wanted = question.window.value_or(
        std::fmax(usual_window * question.metre, static_cast<double>(least_steps) * answer.step));
    answer.window = std::fmax(1, std::round(wanted / answer.step)) * answer.step;
    const std::vector<cell_sums> sums = prefix_sums(question, answer, cells);
    fill_stations(question, answer, sums);
    answer.weak_by = question.limit ? "share" : "mean";
    if (question.limit) {
        answer.weak_below = question.least_share;
    } else {
        const value_spread spread = spread_of(cells);
        answer.weak_below = spread.mean - spread.deviation;
    }
    find_weak(question, answer, sums);
    return answer;
}

} // namespace qmx_study
