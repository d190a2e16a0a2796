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
    std::int64_t last_head_line = 0; // up to which no record is a row
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

// Where the head of a text stands, and what it says. Throws usage_error when the text cannot be read, is
// empty, or is no text. shown_name: the file, for messages. The text starts anew.
line_scan scan_head(text_records& records, const text_layout& layout,
                    const std::string& shown_name);

// Counts the records behind the head of a text, and their fields.
class record_count {
public:
    // Starts anew what `into` holds of the records.
    record_count(line_scan& into, const text_records& from);

    void take(); // the record read last
    void
    take_plain(std::int64_t lines); // those read last: a record each, with the fields of the head

private:
    line_scan& scan;
    const text_records& source;
    int named_fields = 0;
    std::string scratch;
    std::vector<std::string_view> fields_now;
    std::int64_t offset = 1; // of lines and records, in a text without anything odd

    int count_fields();
    void note_line(std::int64_t first_line);
};

// Goes through a text from its start, at least until so many records are counted. True at its end.
// Throws usage_error when it cannot be read.
bool count_records(text_records& records, line_scan& scan, const text_layout& layout,
                   std::int64_t enough, const std::string& shown_name, progress& shown);

// The fields that a record has at least: separators at the end of the head line need not stand in
// the rows.
int least_fields(const line_scan& scan);

// Throws usage_error when reading ended before the end of the file.
void refuse_failure(const text_records& records, const std::string& shown_name);

} // namespace qmx_study
