// Points made of the numbers of plain rows.
#pragma once

#include <cstddef>
#include <cstdint>

#include "study/lot/column_choice.hpp"
#include "study/lot/field_reader.hpp"
#include "study/lot/quick_layout.hpp"

namespace qmx_study {

struct plain_row_block {
    const double* numbers; // row by row
    std::int64_t rows;
    std::size_t width; // numbers of a row
    std::int64_t first_record;
};

// value: the place of the value among the numbers of a row, -1 for none.
void append_plain_points(lot& points, const plain_row_block& block, const number_places& places,
                         int value, std::int32_t pass_unless_read);

// Counts the values of a candidate.
void take_plain_values(value_column& column, const plain_row_block& block, int place);

// The candidate that will be taken, if the rows are like those of the survey.
std::size_t likely_value(const column_choice& choice, const row_survey& survey);

} // namespace qmx_study
