// The statistics of a measure as a document.
#pragma once

#include "study/analyses/stats.hpp"
#include "study/document/json.hpp"

namespace qmx_study {

// Without schema, program, input, columns and output.
json part_of(const stats_answer& answer);
json document_of(const stats_answer& answer);

} // namespace qmx_study
