// A polynomial as a document.
#pragma once

#include "study/analyses/fit.hpp"
#include "study/document/json.hpp"

namespace qmx_study {

json document_of(const fit_answer& answer);

} // namespace qmx_study
