// Writes rows of a table, all columns as they were read.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "study/base/progress.hpp"
#include "study/lot/row_survey.hpp"
#include "study/output/table_writer.hpp"
#include "study/table/table_source.hpp"

namespace qmx_study {

// Which columns hold the positions, for formats with geometries; -1 where none does.
struct position_columns {
    int x = -1, y = -1;
    coordinate_system system; // null where it is not known
    std::string length_unit;
};

// records: ascending, from 1. In a text the fields have the text that was read; one that was a text
// keeps its separator, other formats are written with commas and the point of a geometry as two
// leading columns x and y. In formats with types a column is one of numbers where all its fields are.
// Throws usage_error when the file cannot be written.
void write_rows(table_source& source, const std::vector<std::int64_t>& records,
                const position_columns& positions, const row_survey& survey,
                const std::string& output, progress& shown);

// Columns that stand before those of the file.
struct leading_columns {
    table_layout layout; // of them alone
    std::function<void(table_writer&, std::size_t)>
        write;                 // for the record at this place of the list
    std::vector<int> left_out; // columns of the file that they replace
};

// The same with leading columns, a row for each number in `records`, of which some may be equal. A column
// of the file that is called like a leading one gets "_file" behind its name. The fields of the file are
// read once more, row by row.
void write_rows(table_source& source, const std::vector<std::int64_t>& records,
                const leading_columns& leading, const row_survey& survey, const std::string& output,
                progress& shown);

} // namespace qmx_study
