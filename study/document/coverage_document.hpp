// The coverage of an area as a document.
#pragma once

#include "study/analyses/coverage.hpp"
#include "study/document/json.hpp"

namespace qmx_study {

// Without schema, program, input, columns and output.
json part_of(const coverage_answer& answer);
json document_of(const coverage_answer& answer);

} // namespace qmx_study
