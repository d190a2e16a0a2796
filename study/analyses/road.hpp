// Along the road: the strip's own axis, values by station, weak stretches.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "study/lot/load.hpp"

namespace qmx_study {

struct road_point {
    double x = 0, y = 0;
};

// Stations run along the axis from its first vertex, offsets to the right of it; both in the unit of
// the positions.
struct road_frame {
    std::vector<road_point> axis;             // two vertices or more
    double length = 0;                        // of the axis
    double least_offset = 0, most_offset = 0; // of the cells, to their outer edges
    std::string axis_from;                    // how it came about
};

// Where the axis has two vertices the answer is exact but for rounding; otherwise the nearest segment
// counts, of equally near ones the first.
road_point station_and_offset(const road_frame& frame, double x, double y); // x: station, y: offset
road_point position_at(const road_frame& frame, double station, double offset);

// The lattice that the cells lie on; of scattered points the spacing stands for it.
struct cell_lattice {
    double along = 0, across = 0; // spacing in the lattice's own two directions
    double angle = 0; // of its first direction, degrees anticlockwise from the eastings, 0 to 90
    double origin_x = 0, origin_y = 0; // one node
    bool is_lattice = false;           // at least 98 of 100 cells lie on nodes
};

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

} // namespace qmx_study
