// Delimited text, record by record as it stands in the file, and the fields of a record.
//
// The I/O library reads such text too, but makes an object of each field of each row; taking a record
// apart where it lies in the buffer is several times faster. Both come to the same fields, byte by
// byte, wherever is_plain holds; other texts are left to the I/O library.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <cpl_vsi.h>

namespace qmx_study {

// Yields the records of a file: lines, where those of an open quotation belong to one record. Empty
// lines between records do not count.
class text_records {
public:
    // Through GDAL's file systems, so gzip works too (/vsigzip/).
    explicit text_records(const std::string& path);

    bool is_open() const { return file != nullptr; }
    void rewind();
    bool next(); // false after the last record

    std::string_view text; // of the record, valid until next(); its lines are joined by '\n'
    bool has_quotes = false;
    std::int64_t first_line = 0; // of the record, from 1
    std::int64_t lines = 0;      // read so far
    // So far neither a null character nor a carriage return except at the end of a line.
    bool is_plain = true;
    std::string failure; // why reading ended before the end of the file; empty if it did not

private:
    struct closer {
        void operator()(VSILFILE* open) const { VSIFCloseL(open); }
    };
    std::unique_ptr<VSILFILE, closer> file;
    std::string buffer;
    std::string_view rest; // of the buffer, not yet handed out
    std::string joined;    // a record of several lines
    bool has_returns = false;
    bool is_at_end = false;

    bool next_line(std::string_view& line);
    void refill();
};

// The fields of a record. Quotation marks are left out, a doubled one inside a quotation stands for
// one. The fields are valid as long as the record and the scratch text are.
void split_fields(std::string_view record, char separator, bool has_quotes, std::string& scratch,
                  std::vector<std::string_view>& fields);

} // namespace qmx_study
