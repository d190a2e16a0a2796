// The statistics of a measure as text.
#pragma once

#include <string>

#include "study/analyses/stats.hpp"

namespace qmx_terminal {

std::string stats_text(const qmx_study::stats_answer& answer);

} // namespace qmx_terminal
