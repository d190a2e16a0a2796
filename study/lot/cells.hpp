// Several records in one cell: all-passes data, and the last pass of each cell.
#pragma once

#include <cstdint>

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

// Keeps, of each cell, the record with the highest pass number, of equal ones the later row; without
// pass numbers the later row. Points without a position are left out too. Returns how many records
// were left out.
std::int64_t keep_last_pass(lot& points);

} // namespace qmx_study
