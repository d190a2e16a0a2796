// A selection of points as a document.
#pragma once

#include "study/analyses/select.hpp"
#include "study/document/json.hpp"

namespace qmx_study {

json document_of(const select_answer& answer);

} // namespace qmx_study
