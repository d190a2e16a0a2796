// What was read from a file and what was not: the head of every command's output.
#pragma once

#include <string>

#include "study/document/json_output.hpp"
#include "study/lot/lot_reader.hpp"

namespace qmx_study {

std::string reading_text(const table_source& source, const lot& points);

// Keys "input" and "columns".
void add_reading(json& document, const table_source& source, const lot& points);

} // namespace qmx_study
