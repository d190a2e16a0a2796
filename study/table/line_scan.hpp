// A look at the bare lines of a delimited text file, before its fields are read: how many records
// there are, which of them do not have as many fields as the head line, and on which line of the
// file a record stands.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "study/table/head_search.hpp"

namespace qmx_study {

class progress;
class text_records;

struct odd_record {
    std::int64_t record; // from 1
    int fields;
};

struct line_scan {
    char separator = ',';
    int head_fields = 0;
    std::vector<std::string> head;  // names of the columns
    std::vector<std::string> units; // of the columns, where a line of its own holds them
    std::int64_t head_records = 0;  // that are no rows: the head, and what stands round it
    std::int64_t head_line = 0;
    std::vector<std::string>
        notes;                   // what was taken for what, where the layout is not the usual one
    std::int64_t records = 0;    // without the head line and without empty lines
    std::vector<odd_record> odd; // ascending; an extra empty field at the end is none

    // A line differs from (record + 1) after empty lines and after fields that span lines.
    struct step {
        std::int64_t record, line;
    };
    std::vector<step> steps;
    std::int64_t line_of(std::int64_t record) const;
};

// Reads the whole text, from its start. Throws usage_error when it cannot be read, is empty, or is no
// text. shown_name: the file, for messages.
line_scan scan_lines(text_records& records, const text_layout& layout,
                     const std::string& shown_name, progress& shown);

// Throws usage_error when reading ended before the end of the file.
void refuse_failure(const text_records& records, const std::string& shown_name);

} // namespace qmx_study
