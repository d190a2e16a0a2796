// Which rows of a table are looked at any further: those with sound fields that the filter lets pass.
// Every reader of rows asks here, so that all agree.
#pragma once

#include <string>
#include <vector>

#include "study/lot/field_reader.hpp"
#include "study/lot/row_filter.hpp"

namespace qmx_study {

enum class row_state { taken, dropped, filtered };

class row_screen {
public:
    // Throws usage_error when the filter cannot be read.
    row_screen(const table_source& source, const row_survey& survey, const std::string& where);

    // Of the present row; to be asked once for each, from the first on. Adds the reason of a dropped
    // one.
    row_state look(drop_counter& drops);
    std::vector<int> columns() const { return filter.columns(); } // that the filter looks at

private:
    const table_source& source;
    const row_survey& survey;
    row_filter filter;
    std::size_t file = 0;     // that the present row is in
    std::size_t next_odd = 0; // of its odd records

    bool has_sound_fields(drop_counter& drops);
};

} // namespace qmx_study
