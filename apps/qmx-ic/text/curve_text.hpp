// A compaction curve as text.
#pragma once

#include <string>

#include "study/analyses/curve.hpp"

namespace qmx_terminal {

std::string curve_text(const qmx_study::curve_answer& answer);

} // namespace qmx_terminal
