// A report's document as text: verdicts first, then what the data are and what was found.
#pragma once

#include <string>

#include "study/document/json.hpp"

namespace qmx_terminal {

std::string report_text(const qmx_study::json& document);

} // namespace qmx_terminal
