// Where the head line of a delimited text stands, and what stands round it: titles, comments, a line of
// units, a second line of headings.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace qmx_study {

// What the user says of the layout of a text; the rest is found.
struct text_layout {
    std::int64_t header_line = 0; // of the file, from 1; 0: found
    std::string comment;          // a line that starts with it is no row; "": none
    bool is_careful = false;      // plain rows are looked at like all others
};

struct opening_record {
    std::string text;
    std::int64_t line = 0; // its first one
    bool has_quotes = false;
};

struct found_head {
    std::int64_t line = 1;      // of the head
    std::int64_t last_line = 1; // up to which no record is a row
    char separator = ',';
    std::vector<std::string> names;
    std::vector<std::string> units; // of the columns; empty where no line holds them
    std::vector<std::string> notes; // what was taken for what, where it is not the usual layout
};

// As many records as find_head can make use of.
inline constexpr std::size_t opening_records = 60;

// opening: not empty. Of a text whose first line is its head, nothing else is looked at.
found_head find_head(const std::vector<opening_record>& opening, const text_layout& layout);

} // namespace qmx_study
