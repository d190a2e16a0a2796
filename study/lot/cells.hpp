// Several records in one cell: all-passes data, and the last pass of each cell.
#pragma once

#include <cstdint>
#include <vector>

#include "study/lot/lot_reader.hpp"

namespace qmx_study {

struct cell_summary {
    std::int64_t cells = 0;        // distinct positions
    std::int64_t shared_cells = 0; // with more than one record
    std::int64_t most_records = 0; // in one cell
    // A few repeated positions come from stops; from one cell in a hundred on, passes were kept. A
    // single place is no layer: a receiver without a fix gives one position for all.
    bool is_all_passes() const {
        return cells > 1 && shared_cells > 0 && 100 * shared_cells >= cells;
    }
};

// Records whose positions agree to about a millimetre lie in one cell: to a thousandth of the unit, and
// to a millionth where so many records stand in so small a place that the unit must be a kilometre.
// Points without a position take no part.
cell_summary summarise_cells(const lot& points);

// The same, with the records that keep_last_pass keeps.
struct found_cells {
    cell_summary summary;
    std::vector<bool> is_last_pass;
};
found_cells find_cells(const lot& points);

// Keeps, of each cell, the record with the highest pass number, of equal ones the later row; without
// pass numbers the later row. Points without a position are left out too. Returns how many records
// were left out.
std::int64_t keep_last_pass(lot& points);

// The cells of a lot found once, for several analyses.
struct cell_layers {
    cell_summary measured;  // of the records with a value
    cell_summary compacted; // of those with a pass number too
    // The record that keep_last_pass keeps of the records with a value.
    std::vector<bool> is_last_measured;
    // For the record that it keeps of those with a pass number, with a value or without, how many of
    // them the cell has; 0 for all others.
    std::vector<std::uint32_t> records_of_last_pass;
};
cell_layers layers_of(const lot& points);

// Cells that have come to lie in one place become one, with the highest pass and the records of all.
void join_cells(lot& cells, std::vector<std::uint32_t>& records);

// Keeps these. Returns how many records were left out.
std::int64_t keep_marked(lot& points, const std::vector<bool>& is_kept);

} // namespace qmx_study
