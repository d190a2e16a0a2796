// What a file holds, as a document.
#pragma once

#include "study/analyses/columns.hpp"
#include "study/document/json.hpp"

namespace qmx_study {

json document_of(const columns_answer& answer);

} // namespace qmx_study
