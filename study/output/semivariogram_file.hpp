// The lags of a semivariogram and the curve of its model, written to a CSV.
#pragma once

#include <string>

#include "study/analyses/semivariogram.hpp"

namespace qmx_study {

// Lag classes and, where there is a model, its curve; numbers with all their digits. Throws
// usage_error.
void write_semivariogram(const std::string& output, const semivariogram_answer& answer);

} // namespace qmx_study
