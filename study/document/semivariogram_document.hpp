// A semivariogram as a document.
#pragma once

#include "study/analyses/semivariogram.hpp"
#include "study/document/json.hpp"

namespace qmx_study {

// Without schema, program, input, columns and output.
json part_of(const semivariogram_answer& answer);
json document_of(const semivariogram_answer& answer);

} // namespace qmx_study
