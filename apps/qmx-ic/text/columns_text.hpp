// What a file holds, as text.
#pragma once

#include <string>

#include "study/analyses/columns.hpp"

namespace qmx_terminal {

std::string columns_text(const qmx_study::columns_answer& answer);

} // namespace qmx_terminal
