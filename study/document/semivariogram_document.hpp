// A semivariogram as a document.
#pragma once

#include "study/analyses/semivariogram.hpp"
#include "study/document/json.hpp"

namespace qmx_study {

json document_of(const semivariogram_answer& answer);

} // namespace qmx_study
