// A polynomial as text.
#pragma once

#include <string>

#include "study/analyses/fit.hpp"

namespace qmx_terminal {

std::string fit_text(const qmx_study::fit_answer& answer);

} // namespace qmx_terminal
