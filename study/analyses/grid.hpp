// Raw tracks put on a lattice: question and answer.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "study/analyses/gridding.hpp"
#include "study/lot/load.hpp"

namespace qmx_study {

struct grid_question {
    double cell = 0;
    std::optional<double> drum_width;
    std::optional<double> gap; // otherwise ten times the median distance of successive records
    grid_passes passes = grid_passes::last;
    std::string track; // column that tells machines apart, "" where all rows are of one
};

struct grid_answer {
    reading_account reading;
    grid_settings settings;
    bool gap_is_derived = false;
    std::string track;
    double median_step = 0; // distance of successive records; 0 where there are none
    grid_cells grid;
    std::int64_t cells = 0;
    std::map<std::int32_t, std::int64_t> cells_by_passes;
    coordinate_system system; // of the positions
    std::vector<std::string> notes;
    std::string output; // file that the entries were written to, or ""
};

// Throws usage_error where the question makes no sense.
void check(const grid_question& question);
reading_needs needs_of(const grid_question& question);
// Throws usage_error.
grid_answer analyse(const grid_question& question, loaded_lot& lot, progress& shown);

} // namespace qmx_study
