// A column of a table as its format declares it.
#pragma once

#include <cstdint>
#include <string>

namespace qmx_study {

enum class column_type : std::uint8_t { text, number, other }; // other: dates, lists

struct source_column {
    std::string name;
    column_type type = column_type::text;
    std::string unit = {}; // where a line of units tells it
    bool is_text() const { return type == column_type::text; }
    bool is_numeric() const { return type == column_type::number; }
};

} // namespace qmx_study
