// The document of a run that ended without an answer.
#pragma once

#include <string>

#include "study/analyses/library_events.hpp"
#include "study/base/errors.hpp"
#include "study/document/json.hpp"

namespace qmx_study {

// command: "" where none was recognised. event: null unless the library failed. place: of a wrong input.
json failure_document(const std::string& command, int exit_code, const std::string& message,
                      const library_failure* event, const error_place& place);

} // namespace qmx_study
