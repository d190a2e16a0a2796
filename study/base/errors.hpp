// How work in study/ ends early: with an exception whose type tells the kind of failure.
#pragma once

#include <stdexcept>

namespace qmx_study {

// Wrong usage or unreadable input. The message names the file, row, column and value concerned as far
// as there are any, and the remedy.
struct usage_error : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// The library refused the analysis, or the data do not allow it.
struct analysis_error : std::runtime_error {
    using std::runtime_error::runtime_error;
};

} // namespace qmx_study
