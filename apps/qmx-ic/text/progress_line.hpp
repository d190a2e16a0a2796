// A line on the terminal while something takes longer than a second.
#pragma once

#include "study/base/progress.hpp"

namespace qmx_terminal {

// Shows what it is told on standard error when that is a terminal, the first second is over and the
// last text is a while ago.
qmx_study::progress_hook progress_line();

} // namespace qmx_terminal
