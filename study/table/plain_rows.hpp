// Rows that hold nothing odd, taken straight out of the text: no quotation, as many fields as the table has
// columns, a plain number wherever one is asked for. A row that might be anything else is left to the
// careful reader, whose answer counts; here it is enough never to take such a row.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include "study/base/number_text.hpp"

namespace qmx_study {

// What the fields of a column have to be like in a plain row.
enum class field_rule : std::uint8_t {
    any,
    numeric, // empty, or starts as a number does
    text,    // empty, or no number
    label,   // empty, or starts as no number does
    number,  // a number that is asked for
};

struct plain_column {
    field_rule rule = field_rule::any;
    std::uint32_t place = 0; // of a number asked for, among those of the row
};

// A number that is asked for.
struct plain_number {
    bool may_be_missing = false;                      // an empty field: NaN
    bool is_whole = false;                            // and has 32 bits
    double most = std::numeric_limits<double>::max(); // in size
    std::vector<double> codes; // ascending: numbers that stand for something else
};

struct plain_layout {
    char separator = ',';
    std::size_t least_fields = 1; // up to as many as there are columns, and an empty one behind
    std::vector<plain_column> columns;
    std::vector<plain_number> numbers;
    number_style style;
    std::string comment; // the start of lines that are no rows, "" for none
};

// The numbers of rows, one row behind the other.
struct row_numbers {
    std::vector<double> values; // more than are in use
    std::size_t used = 0;
};

struct plain_run {
    std::size_t bytes = 0; // of the rows taken, which end with their line ends
    std::int64_t rows = 0;
    bool is_broken =
        false; // by a row that is not plain; otherwise the text ends within the next one
};

// Whether a text with this separator can be taken apart so.
bool can_be_plain(const plain_layout& layout);

// Takes plain rows from the start of a text up to the first that is none, and appends their numbers.
plain_run take_plain_rows(std::string_view text, const plain_layout& layout, row_numbers& into);

} // namespace qmx_study
