// Delimited text, record by record as it stands in the file, and the fields of a record.
//
// All delimited text goes this way. A record is taken apart where it lies in the buffer, without an
// object for each field of each row: reading is as fast as the file comes.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "study/table/text_input.hpp"

namespace qmx_study {

// Yields the records of a file: lines, where those of an open quotation belong to one record. Empty
// lines between records do not count. A line ends with a line feed, a carriage return or both; bytes
// that are no UTF-8 are taken as Latin-1.
class text_records {
public:
    explicit text_records(const std::string& path) : file(path) {}

    bool is_open() const { return file.is_open(); }
    void rewind();
    bool next(); // false after the last record

    std::string_view text; // of the record, valid until next(); its lines are joined by '\n'
    bool has_quotes = false;
    std::int64_t first_line = 0; // of the record, from 1
    std::int64_t lines = 0;      // read so far
    // Why reading ended before the end of the file; empty if it did not.
    const std::string& failure() const { return file.failure; }

private:
    text_input file;
    std::string buffer;
    std::string_view rest; // of the buffer, not yet handed out
    std::string joined;    // a record of several lines
    std::string decoded;   // a record that was written in Latin-1
    char line_end = '\n';
    bool has_returns = false;
    bool has_high_bytes = false;
    bool is_at_end = false;

    bool next_line(std::string_view& line);
    void refill();
};

// The fields of a record. Quotation marks are left out, a doubled one inside a quotation stands for
// one. The fields are valid as long as the record and the scratch text are.
void split_fields(std::string_view record, char separator, bool has_quotes, std::string& scratch,
                  std::vector<std::string_view>& fields);

} // namespace qmx_study
