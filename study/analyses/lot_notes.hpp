// What several analyses do with the lot that they were given, and have to say of it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "study/lot/cells.hpp"
#include "study/lot/load.hpp"

namespace qmx_study {

// Says so where the value column was chosen among several.
void note_chosen_value(std::vector<std::string>& notes, const loaded_lot& lot);

// Where the values are pass counts: they are the pass numbers too.
void take_values_as_passes(lot& points);

// Data of all passes brought down to the finished layer.
struct finished_layer {
    cell_summary cells; // of the records as they were read; none without positions
    bool is_taken = false;
    std::int64_t earlier_passes = 0; // records left out
    std::vector<std::string> notes;
};

// Keeps the last pass of each cell where the lot holds all passes (or the user wants it in any case),
// unless all records are meant. Points without a position lie in no cell: they are left out too then.
finished_layer take_finished_layer(loaded_lot& lot, bool in_any_case, bool all_records);
// The same where the cells were found before. on_nodes: each record lies on a node of its own, so that
// none is an earlier pass of another that it lies beside.
finished_layer take_finished_layer(loaded_lot& lot, bool all_records, const cell_summary& cells,
                                   const std::vector<bool>& is_last, bool on_nodes);

} // namespace qmx_study
