// A selection of points as text.
#pragma once

#include <string>

#include "study/analyses/select.hpp"

namespace qmx_terminal {

std::string select_text(const qmx_study::select_answer& answer);

} // namespace qmx_terminal
