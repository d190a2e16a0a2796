// Tracks put on a lattice, as text.
#pragma once

#include <string>

#include "study/analyses/grid.hpp"

namespace qmx_terminal {

std::string grid_text(const qmx_study::grid_answer& answer);

} // namespace qmx_terminal
