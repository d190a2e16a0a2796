// The fields of one column read as numbers, with an account of what could not be read.
#pragma once

#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include "study/lot/lot_reader.hpp"

namespace qmx_study {

// The number of a field that has none.
inline constexpr double not_there = std::numeric_limits<double>::quiet_NaN();

// Counts dropped rows by reason, and remembers the first of each.
class drop_counter {
public:
    // The key of a reason is made of two parts, and so is its text: no text is put together for a row
    // whose reason is known.
    void add(std::string_view role, std::string_view reason, std::string_view subject,
             std::string_view text, std::int64_t record, std::string_view column = {},
             std::string_view value = {}, std::int64_t rows_of_it = 1);
    void add(std::string_view reason, std::string_view text, std::int64_t record) {
        add("", reason, "", text, record);
    }
    std::vector<dropped_rows> rows;
};

// Reads one column: counts units and labels stripped, and names what is wrong with a field.
class field_reader {
public:
    field_reader(const used_column& use, const char* role, const row_survey& learned);

    // The number of a field; NaN after adding the reason to `drops`.
    double read(const table_source& row, drop_counter& drops);
    // The same for empty fields that were seen elsewhere, the first of them in this record.
    void take_empty(std::int64_t fields, std::int64_t first_record, drop_counter& drops) const;

    used_column column;
    stripped_text stripped;

private:
    const row_survey& survey;
    std::string key;

    void note_stripped(const text_value& field, bool is_unit);
};

// The values of one candidate column. The last one read is at hand; the lot keeps those of one candidate.
struct value_column {
    field_reader reader;
    drop_counter drops;
    double now = 0; // of the row read last
    std::int64_t filled = 0;

    void take(const table_source& row);
    // Those of rows read elsewhere, of which `empty` have none, the first of these in a record.
    void take_all(std::int64_t rows, std::int64_t empty, std::int64_t first_empty_record);
};

} // namespace qmx_study
