// Spot tests and their line as text.
#pragma once

#include <string>

#include "study/analyses/spots.hpp"

namespace qmx_terminal {

std::string spots_text(const qmx_study::spots_answer& answer);

} // namespace qmx_terminal
