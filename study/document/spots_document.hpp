// Spot tests and their line as a document.
#pragma once

#include "study/analyses/spots.hpp"
#include "study/document/json.hpp"

namespace qmx_study {

// Without schema, program, input, columns and output.
json part_of(const spots_answer& answer);
json document_of(const spots_answer& answer);

} // namespace qmx_study
