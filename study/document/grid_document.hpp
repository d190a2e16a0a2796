// The document of tracks put on a lattice.
#pragma once

#include "study/analyses/grid.hpp"
#include "study/document/json.hpp"

namespace qmx_study {

json document_of(const grid_answer& answer);

} // namespace qmx_study
