// One file of records, read one after the other: delimited text, or a vector format.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "study/base/number_text.hpp"
#include "study/base/progress.hpp"
#include "study/table/line_scan.hpp"
#include "study/table/shape.hpp"
#include "study/table/source_column.hpp"
#include "study/table/spatial_reference.hpp"
#include "study/table/text_records.hpp"
#include "study/table/vector_table.hpp"

namespace qmx_study {

// When the records of a text are counted: first of all, or together with the run that reads the lot. Then
// only the first ones are known before, at least as many as are surveyed.
enum class counting { first, while_reading };

class table_file {
public:
    // Opens a file. gzip is unpacked on the way; .csv, .tsv, .txt, .dat, .asc and .psv are delimited
    // text, whatever else goes by its contents. Throws usage_error.
    table_file(const std::string& file, const std::string& layer, progress& shown,
               const text_layout& layout, counting when = counting::first);

    std::string file;   // as the user named it
    std::string format; // "CSV", "GPKG", ...
    std::vector<source_column> columns;
    bool is_delimited = false;
    line_scan lines; // of delimited text
    std::int64_t rows =
        -1; // -1 where the format does not know in advance, and while not all are counted

    // The coordinate system of the geometries: null where there is none.
    const coordinate_system& reference() const { return system; }
    bool has_geometry() const { return is_spatial; }

    void rewind();
    // The same for a run through all records in which only these columns will be asked for, and the
    // geometry where it is said: what else there is need not be read then.
    void rewind_for(const std::vector<int>& wanted, bool with_geometry);
    bool next();                                   // false after the last record
    std::int64_t record() const { return number; } // from 1
    // Valid until next(), and until the next call for a column that is no text.
    std::string_view text(int column) const {
        return vector ? vector->text(column) : fields[static_cast<std::size_t>(column)];
    }
    text_value value(int column, const number_style& style) const;
    const shape* geometry() const;          // of this record, may be null
    std::string_view geometry_text() const; // of a delimited text, as it stands there

    // Counts the records of a text in the run that follows rewind_for(), where they are not counted yet.
    void count_while_reading();
    // Counts them now, if need be. What comes of a damaged text is thrown in any case.
    void count_now(progress& shown);
    // For quicker readers of a text, which tell how many records they took; a line each.
    text_records& text_ahead() { return *records; }
    double share_read() const { return records ? records->share_read() : 0; }
    void take_plain(std::int64_t lines_taken);

    // Of the file's bytes, those of a stream too. rewind() afterwards.
    file_mark mark();
    // For who stops before the last record. Throws usage_error where the file was changed since it was opened.
    void refuse_if_changed() const;

    // Where a record stands, for messages: "line 52" of a text, "record 51" of anything else.
    std::int64_t line_of(std::int64_t record) const;
    std::string place(std::int64_t record) const;

private:
    std::int64_t number = 0;
    // One of the two.
    std::unique_ptr<text_records> records;
    std::unique_ptr<vector_table> vector;
    std::vector<std::string_view> fields; // of a text
    std::string unquoted;
    int shape_column = -1;             // of a text: well-known text
    text_layout layout;                // of a text, as the user gave it
    std::optional<record_count> count; // while records are counted
    mutable shape read_shape;
    bool is_spatial = false;
    coordinate_system system;

    void open_text(progress& shown, counting when);
    void name_columns_by_head();
    void read_system_beside();
    void refuse_missing_head() const;
};

// Whether a name stands for a stream: "-" for standard input, a pipe, a terminal.
bool is_stream(const std::string& file);

} // namespace qmx_study
