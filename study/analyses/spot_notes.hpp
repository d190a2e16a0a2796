// What a reader of a comparison with spot tests should know of it.
#pragma once

#include "study/analyses/spots.hpp"

namespace qmx_study {

inline constexpr double most_probable_chance = 0.05; // p of a slope beyond which it may be chance

// Of an answer whose matches and line are there: why there is no line, what is to be said of each
// test, and of the whole.
void explain_failure(spots_answer& answer);
void add_remarks(spots_answer& answer);
void add_notes(spots_answer& answer);

} // namespace qmx_study
