// Positions that scatter about the nodes of a lattice along the axes: cells whose centres were
// measured, not computed, so that no two records of a cell agree.
#pragma once

#include <optional>
#include <vector>

#include <qmx_ic.h>

#include "study/analyses/mesh.hpp"

namespace qmx_study {

struct scattered_lattice {
    mesh_size mesh;
    double origin_x = 0, origin_y = 0; // of one node
    double scatter = 0;                // root mean square distance from the nodes
};

// named: the mesh to try; without one it is found. Nothing where the positions do not gather about
// nodes: at least 98 of 100 must lie within a quarter of the mesh of one, along both axes.
//
// The spacing is the one whose period the differences of coordinates keep best, first over eight
// spacings, then over ever longer distances; at last the slope of the line through the nodes and the
// coordinates, rounded to the fewest decimals that its standard error allows. Rows that lie far from
// the others have no say.
std::optional<scattered_lattice> scattered_lattice_of(const std::vector<t_icdata>& points,
                                                      const std::optional<mesh_size>& named);

// Moves each position to its node.
void snap(std::vector<t_icdata>& points, const scattered_lattice& lattice);

} // namespace qmx_study
