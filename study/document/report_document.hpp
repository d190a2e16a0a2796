// A report as a document, and as tables.
#pragma once

#include "study/analyses/report.hpp"
#include "study/document/json.hpp"

namespace qmx_study {

json document_of(const report_answer& answer);

} // namespace qmx_study
