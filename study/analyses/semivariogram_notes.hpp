// What a reader of a semivariogram should know of it.
#pragma once

#include "study/analyses/semivariogram.hpp"

namespace qmx_study {

// Appends to the notes of an answer whose analysis is done: several records in a cell,
// stray points and coarse positions, empty and thin lags, parameters on their bounds.
void add_notes(semivariogram_answer& answer);

} // namespace qmx_study
