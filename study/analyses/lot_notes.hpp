// What several analyses have to say of the lot that they were given.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "study/lot/cells.hpp"
#include "study/lot/load.hpp"

namespace qmx_study {

// Says so where the value column was chosen among several.
void note_chosen_value(std::vector<std::string>& notes, const loaded_lot& lot);

// Says so where cells hold several records. finished: "Statistics of a finished layer are those of".
void note_all_passes(std::vector<std::string>& notes, const cell_summary& cells,
                     const char* finished);

// Keeps the last pass of each cell, and says so where the order of the rows had to tell it. Returns how
// many records were left out.
std::int64_t take_last_pass(std::vector<std::string>& notes, loaded_lot& lot);

} // namespace qmx_study
