// What the columns of a delimited text hold, learned from its first rows, and rows that contradict it.
//
// A row that lost a field in its middle has all later fields one column to the left. Where the writer
// filled up the end, counting fields does not find it; but then text stands where numbers belong.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "study/base/number_text.hpp"
#include "study/table/table_source.hpp"

namespace qmx_study {

// What a column holds as a rule: at least nine tenths of its filled fields, and three of them.
enum class column_content { unknown, numbers, labelled_numbers, text };

struct surveyed_column {
    column_content content = column_content::unknown;
    std::int64_t filled = 0;
    std::int64_t missing = 0;
    std::string unit;          // the unit inside most of the values, "" if there is none
    std::string accepted_unit; // that a value may carry: this unit, or else that of the heading
    std::string other_unit;    // of the same column in a further file of the lot, where it differs
    // Numbers that stand for a missing value, as loggers write them, far from all other values.
    std::vector<double> missing_codes;
    bool has_usual_numbers = false; // so that 1e38 among them is such a code too
};

// What one file was found to hold: its columns in its own order.
struct file_survey {
    std::vector<surveyed_column> columns;
    number_style style;
};

struct row_survey {
    std::vector<file_survey> files;
    std::vector<surveyed_column> columns; // of the lot, all files together

    // A field as the rules of its column have it: a number in another unit than the column's is no
    // number, and a code such as -9999 that the other values cannot reach is missing; `extra` then
    // holds the code.
    text_value read(const table_source& row, int column) const;

    // True when the fields of this row fit the columns much better after moving those from some
    // field on by one column.
    bool is_out_of_place(const table_source& row) const;

    const number_style& style(const table_source& row) const {
        return files[row.part_index()].style;
    }
};

// decimal: '.' or ',' to settle the decimal mark, '\0' to learn it, file by file. Leaves the source
// rewound.
row_survey survey_rows(table_source& source, const std::vector<std::string>& missing, char decimal);

} // namespace qmx_study
