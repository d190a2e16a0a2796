// The coverage of an area as text.
#pragma once

#include <string>

#include "study/analyses/coverage.hpp"

namespace qmx_terminal {

std::string coverage_text(const qmx_study::coverage_answer& answer);

} // namespace qmx_terminal
