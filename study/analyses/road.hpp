// Along the road: the strip's own axis, values by station, weak stretches.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "study/analyses/cell_lattice.hpp"
#include "study/lot/load.hpp"

namespace qmx_study {

struct road_point {
    double x = 0, y = 0;
};

// Stations run along the axis, which lies in the middle of the strip, from its first vertex,
// its end in the west; offsets count to the right of it. Both are in the unit of the positions.
struct road_frame {
    std::vector<road_point> axis;             // two vertices or more
    double length = 0;                        // of the axis
    double least_offset = 0, most_offset = 0; // of the cells, to their outer edges
    std::string axis_from;                    // how it came about
    bool is_bent = false;                     // the cells fill too little of a straight strip
    bool follows_bend = false;                // and the axis bends with them
};

// Where the axis has two vertices the answer is exact but for rounding; otherwise the nearest segment
// counts, of equally near ones the first.
road_point station_and_offset(const road_frame& frame, double x, double y); // x: station, y: offset
road_point position_at(const road_frame& frame, double station, double offset);

struct road_station {
    double from = 0, to = 0;
    std::int64_t cells = 0;
    double mean = 0;         // NaN without cells
    double running_mean = 0; // over the window about it
    double share = 0; // percent of the cells in the window that satisfy the target; NaN without one
    double passes = 0; // mean pass count; NaN without passes
};

struct weak_stretch {
    double from = 0, to = 0;
    std::int64_t cells = 0;
    double mean = 0;
    double share = 0;  // percent satisfying the target; NaN without a target
    double lowest = 0; // running mean in it
};

struct road_answer {
    road_frame frame;
    cell_lattice lattice;
    double window = 0, step = 0;
    double weak_below = 0; // a stretch is weak where the share (or the running mean) is below this
    std::string weak_by;   // "share", "mean"
    std::vector<road_station> stations;
    std::vector<weak_stretch> weak;
};

// Values of a cell that satisfy what is asked of it.
struct cell_limit {
    double value = 0;
    bool below = false; // values at or below it do
    bool is_met(double number) const { return below ? number <= value : number >= value; }
};

struct road_question {
    std::optional<double> window;    // otherwise about 10 m, and five steps or more
    std::optional<cell_limit> limit; // without one stretches of low mean are weak
    double least_share = 90;         // percent of the cells in a window that satisfy the limit
    bool has_passes = false;
    double metre = 1; // in units of the positions
};

// cells: positions and values of the finished layer, one record a cell, at least two places.
road_answer analyse(const road_question& question, const std::vector<t_icdata>& cells,
                    const cell_lattice& lattice);

// The strip's axis: the long direction of the least box round the cells, or a line through the middles
// of its stations where the strip bends.
road_frame frame_of(const std::vector<t_icdata>& cells, const cell_lattice& lattice);

} // namespace qmx_study
