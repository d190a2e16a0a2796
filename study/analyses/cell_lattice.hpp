// The lattice that the cells of a lot lie on, however it is turned against the axes of the map.
#pragma once

#include <vector>

#include <qmx_ic.h>

namespace qmx_study {

// Of scattered points the spacing stands for it.
struct cell_lattice {
    double along = 0, across = 0; // spacing in the lattice's own two directions
    double angle = 0; // of its first direction, degrees anticlockwise from the eastings, 0 to 90
    double origin_x = 0, origin_y = 0; // one node
    bool is_lattice = false;           // at least 98 of 100 cells lie on nodes, each on its own
    bool rows_are_shifted = false; // against each other: nodes are evenly apart within a row only
    bool rows_run_along = true;    // in the first direction; otherwise in the second
    double scatter = 0;            // root mean square distance from the nodes
};

// Of positions of which no two are one cell. Positions may scatter about their nodes, nodes may be
// empty, and each row may have a start of its own, as the lanes of a roller have.
//
// The direction is the one across which small pieces of the lot fall into the clearest rows; the two
// spacings are the longest that positions there keep as a period. Least squares over ever larger parts of
// the lot then settle direction and spacings, at last rounded to the fewest decimals that their standard
// errors allow. Only exactly rounded operations: the same numbers on every machine.
cell_lattice lattice_of_cells(const std::vector<t_icdata>& cells);

} // namespace qmx_study
