// A semivariogram as text.
#pragma once

#include <string>

#include "study/analyses/semivariogram.hpp"

namespace qmx_terminal {

std::string semivariogram_text(const qmx_study::semivariogram_answer& answer);

} // namespace qmx_terminal
