// Delimited text, record by record as it stands in the file, and the fields of a record.
//
// All delimited text goes this way. A record is taken apart where it lies in the buffer, without an
// object for each field of each row: reading is as fast as the file comes.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "study/table/text_input.hpp"

namespace qmx_study {

// How many bytes of a text are in work at a time. Tests take few, so that borders lie at every place.
struct text_pieces {
    std::size_t block = std::size_t{1} << 20;
    std::size_t block_of_a_thread = std::size_t{1} << 18; // with its numbers it stays in a cache
    std::size_t before_threads = std::size_t{1} << 22;    // so few are read sooner by one
};
text_pieces& pieces_of_text();

// Yields the records of a file: lines, where those of an open quotation belong to one record. Empty
// lines between records do not count. A line ends with a line feed, a carriage return or both; bytes
// that are no UTF-8 are taken as Latin-1. A record that is longer than any table has ends the reading.
class text_records {
public:
    explicit text_records(const std::string& path) : file(path) {}

    bool is_open() const { return file.is_open(); }
    void rewind();
    bool next(); // false after the last record
    file_mark mark(const std::string& name) { return file.mark(name); } // rewind() afterwards
    void refuse_if_changed(const std::string& name) const { file.refuse_if_changed(name); }

    std::string_view text; // of the record, valid until next(); its lines are joined by '\n'
    bool has_quotes = false;
    std::int64_t first_line = 0; // of the record, from 1
    std::int64_t lines = 0;      // read so far
    // Why reading ended before the end of the file; empty if it did not. fault_line: where the reason
    // stands in the file, 0 where it is not the text itself.
    const std::string& failure() const { return fault_text.empty() ? file.failure : fault_text; }
    std::int64_t fault_line() const { return fault_text.empty() ? 0 : fault_at; }

    // Known once the head is read: what stands between fields ('\0': any separator there is), and how
    // many fields a record has. Both tell an honest quotation from a stray mark.
    char separator = '\0';
    std::int64_t columns = 0;
    std::string comment;       // a line that starts with it is no record; "" where none is
    std::int64_t comments = 0; // such lines so far

    // For quicker readers of what is plain: the text behind the present record. It holds a whole line
    // unless the file ends, or a line is very long.
    std::string_view ahead();
    std::string_view left() const { return rest; } // the same without reading on
    void pass_over(std::size_t bytes, std::int64_t lines_in_them);
    // Goes on in this text, which lives as long as it is read. What comes behind it is given by
    // `further`, where that is set: it puts the text into `block`, or nothing at the end.
    void go_on_in(std::string_view text);
    std::function<void(std::string& block)> further;
    // The bytes that follow what is in memory: up to `size`, fewer only at the end.
    std::size_t read_on(char* to, std::size_t size) { return file.read(to, size); }
    double share_read() const { return file.share_read(); }

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

    std::string fault_text;
    std::int64_t fault_at = 0;

    bool next_line(std::string_view& line);
    bool is_comment(std::string_view line);
    bool join_lines();
    bool refuse(const std::string& reason);
    bool is_row(std::string_view line) const;
    void refill();
    void refill_by_hand();
};

// The fields of a record. A field that starts with a quotation mark is quoted: its marks are left out,
// and a doubled one stands for one (RFC 4180). Elsewhere a mark is a character. The fields are valid as long as the record and the scratch text are.
void split_fields(std::string_view record, char separator, bool has_quotes, std::string& scratch,
                  std::vector<std::string_view>& fields);

} // namespace qmx_study
