// The rows of a data matrix that take part in a regression, scaled by powers of two.
#pragma once

#include "base/base_types.hpp"

namespace qmx::numeric {

// Columns of the model in a column-major matrix, numbered from 1; 0 for none.
struct model_columns {
    const f64* matrix;
    i64 leading_dimension;
    i64 row_count;
    i32 response;
    i32 independent;
    i32 frequency;
    i32 weight;
    i32 future_responses;

    // row from 0
    f64 at(i64 row, i32 column, f64 otherwise = 1.0) const {
        return column == 0 ? otherwise : matrix[row + (column - 1) * leading_dimension];
    }
};

// One row of the matrix.
struct model_row {
    f64 x, y, frequency, weight;

    bool has_missing_value() const;
    bool takes_part() const; // nothing missing, frequency and weight above 0
};

model_row row_of(const model_columns& columns, i64 row);

// Exponents of the powers of two that the columns are divided by. That of the weights includes the
// frequencies', so that frequency times weight is at most 4.
struct row_units {
    i32 x = 0;
    i32 y = 0;
    i32 weight = 0; // even, so that the root of a weight is scaled by a power of two as well
};

// The rows that take part, in their order and in these units. All columns have room for each row of
// the matrix.
struct regression_rows {
    i64 count = 0;
    f64* x;
    f64* y;
    f64* weight;    // frequency times weight
    f64* frequency; // as given
    f64* residual;
    row_units units;
    f64 observations = 0.0; // sum of the frequencies
    bool finite = true;     // no infinite value among them
};

enum class row_defect { none, negative_frequency, negative_weight };

// Fills all but the residuals. missing counts the rows with a missing value; the first row with a
// defect, from 1, goes to defective_row.
row_defect collect_rows(const model_columns& columns, regression_rows& rows, i32& missing,
                        i32& defective_row);

} // namespace qmx::numeric
