// A compaction curve as a document.
#pragma once

#include "study/analyses/curve.hpp"
#include "study/document/json.hpp"

namespace qmx_study {

// Without schema, program, input, columns and output.
json part_of(const curve_answer& answer);
json document_of(const curve_answer& answer);

} // namespace qmx_study
