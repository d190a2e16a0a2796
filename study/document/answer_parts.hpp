// A failed analysis whose other results are printed all the same.
#pragma once

#include <optional>
#include <string>

#include "study/analyses/library_call.hpp"
#include "study/document/json_output.hpp"

namespace qmx_study {

// What to say of a failure that has nothing to do with the data; "" for any other.
std::string explanation_of_memory(const library_failure& failure);

// null for an analysis without an explanation; otherwise message, code, class and path of the library
// (null where it did not fail itself) and the explanation.
json failure_json(const std::optional<library_failure>& failure, const std::string& explanation);

// Throws analysis_error with all of it, unless there is no explanation.
void end_failed(const std::optional<library_failure>& failure, const std::string& explanation);

} // namespace qmx_study
