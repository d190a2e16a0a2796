// Puts the records of moving machines on a lattice of square cells along the axes, pass by pass.
//
// A track is a run of records, in their order, none farther than `gap` from the one before. A record
// nearer than half a cell to the last place of its track belongs to that place, whose value is the mean
// of its records. At each place the drum covers the ground from halfway to the place before to halfway
// to the next one, drum_width wide across the heading; the heading of a place halves the angle between
// its two steps, and where they differ by more than a right angle (the machine turned back) each step
// keeps its own. Cells whose centres are covered, and the cell that the place lies in, get its value.
//
// A pass is an unbroken visit: places of one track that cover the cell and are at most two apart. Its
// value is the mean of their values, and its number counts the visits so far.
#pragma once

#include <cstdint>
#include <vector>

#include "study/base/progress.hpp"

namespace qmx_study {

struct track_record {
    double x = 0, y = 0, value = 0;
    std::int32_t track = 0; // records of different tracks do not follow one another
};

enum class grid_passes { last, mean, all };

struct grid_settings {
    double cell = 0;       // side of a cell
    double drum_width = 0; // 0: a place counts for its own cell alone
    double gap = 0;
    grid_passes passes = grid_passes::last;
};

// Of the last pass or of all together one entry a cell, otherwise one for each pass.
struct grid_entry {
    std::int32_t column = 0, row = 0; // cell (0, 0) has its corners at 0 and `cell`
    std::int32_t pass = 0;            // its number; of one entry a cell the number of passes
    double value = 0;
};

struct grid_cells {
    std::vector<grid_entry> entries; // by row, column, pass
    std::int64_t tracks = 0;
    std::int64_t places = 0;
};

// Cells are counted from 0 in both directions: farther out than this many there are none.
inline constexpr double farthest_cell = 1e9;

// |x| and |y| are at most farthest_cell cells. Throws cancelled_error.
grid_cells grid_tracks(const std::vector<track_record>& records, const grid_settings& settings,
                       progress& shown);

double cell_centre(std::int32_t number, double cell);

} // namespace qmx_study
