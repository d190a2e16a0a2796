// Which cell lies at a place.
#pragma once

#include <cstdint>
#include <vector>

#include "study/analyses/report.hpp"

namespace qmx_report {

// Where cells lie. Of scattered points the spacing stands for a lattice.
struct map_lattice {
    double along = 0, across = 0; // spacing in the lattice's own two directions
    double angle = 0;             // of the first, degrees anticlockwise from the eastings
    double origin_x = 0, origin_y = 0;
    bool is_lattice = false;
    bool rows_are_shifted = false; // each row begins where it likes
    bool rows_run_along = true;    // in the first direction
};

// Finds the cell that a place belongs to: of a lattice the one whose square holds the place, of
// scattered points the nearest one within the spacing. A table of hashed lattice indices: it grows
// with the cells and not with the area that they are spread over. Cells of neighbouring indices lie
// close together in it, since pictures ask row by row.
class cell_index {
public:
    cell_index(const qmx_study::cell_table& cells, const map_lattice& lattice);

    std::int32_t at(double x, double y) const; // position in the table of cells, -1 where none is

private:
    struct place {
        std::int32_t i = 0, j = 0;
    };
    struct slot {
        place where;
        std::int32_t cell = -1;
    };
    bool place_of(double x, double y, place& result) const;
    std::size_t start_of(place where) const;
    std::int32_t first_at(place where) const;
    std::int32_t nearest(double x, double y, place about) const;
    std::int32_t nearest_in_row(double x, double y, place about) const;

    const qmx_study::cell_table& cells_;
    double cosine_, sine_, per_along_, per_across_, reach_, origin_x_, origin_y_;
    bool is_lattice_, rows_are_shifted_, rows_run_along_;
    std::size_t mask_ = 0;
    std::vector<slot> slots_;
    std::vector<std::int32_t> next_; // cell of the same index, -1 at the end
};

// The document's lattice; where it has none, one from the number of cells and their extent.
map_lattice usable_lattice(const qmx_study::cell_table& cells, map_lattice given);

} // namespace qmx_report
