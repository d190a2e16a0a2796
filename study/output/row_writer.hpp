// Writes rows of a table to a delimited text, all columns with their text as it was read.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "study/base/progress.hpp"
#include "study/table/table_source.hpp"

namespace qmx_study {

// records: ascending, from 1. A text keeps its separator; other formats are written with commas, and
// the point of a geometry as two leading columns x and y. Throws usage_error when the file cannot be
// written, or is the one that is read.
void write_rows(table_source& source, const std::vector<std::int64_t>& records,
                const std::string& output, progress& shown);

} // namespace qmx_study
