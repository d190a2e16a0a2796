// Which columns of a table hold the position, the value and the pass.
#pragma once

#include <vector>

#include "study/lot/lot_reader.hpp"

namespace qmx_study {

struct column_choice {
    used_column x, y, pass;
    bool from_geometry = false;
    bool is_geographic = false;
    std::vector<used_column> values; // in the order of preference; one where the user named it
};

// Throws usage_error when a column that the options name or the needs require is not there.
column_choice choose_columns(const table_source& source, const row_survey& survey,
                             const reading_options& options, const reading_needs& needs);

} // namespace qmx_study
