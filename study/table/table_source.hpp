// The records of a lot: those of one file, or of several one after the other, as rollers and days
// leave them.
//
// Columns of several files are joined by their names, in whatever order each file has them. Records
// are numbered through; a place names the file and the line in it.
#pragma once

#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "study/table/table_file.hpp"

namespace qmx_study {

class table_source {
public:
    // Throws usage_error where a file cannot be read, where one is named twice, and where one knows
    // positions in another way than the first. Of several texts the records are counted first.
    table_source(const std::vector<std::string>& named, const std::string& layer, progress& shown,
                 const text_layout& layout = {}, counting when = counting::first);
    table_source(const std::string& only, const std::string& layer, progress& shown,
                 const text_layout& layout = {})
        : table_source(std::vector<std::string>{only}, layer, shown, layout) {}

    std::string file;   // for messages: as the user named it, or "a.csv and 2 more"
    std::string format; // "CSV", "GPKG", ...
    std::vector<source_column> columns;
    bool is_delimited = false;
    std::int64_t rows =
        -1; // -1 where a format does not know in advance, and while not all are counted

    // The files, and which of them the present record is in.
    std::size_t part_count() const { return parts.size(); }
    const table_file& part(std::size_t index) const { return *parts[index].table; }
    std::size_t part_index() const { return at; }
    const table_file& part() const { return *now; }
    // The column of a file that holds a column of the lot: -1 where it has none.
    int own_column(std::size_t part, int column) const {
        return is_plain ? column : parts[part].own[static_cast<std::size_t>(column)];
    }
    std::vector<std::string> files() const;
    char separator() const { return is_delimited ? part(0).lines.separator : ','; }

    // The coordinate system of the geometries: null where there is none.
    const coordinate_system& reference() const { return part(0).reference(); }
    bool has_geometry() const { return part(0).has_geometry(); }

    void rewind();
    // The same for a run through all records in which only these columns will be asked for, and the
    // geometry where it is said: what else there is need not be read then.
    void rewind_for(const std::vector<int>& wanted, bool with_geometry);
    bool next() {
        if (now->next()) return true;
        return next_part();
    }
    // Goes on behind the last record of the present file. False where that is the last one.
    bool skip_to_next_part();
    // File by file: the next record of the present one; after its last, on to the next file.
    bool next_of_part() { return now->next(); }
    bool go_on_to_next_part();
    table_file& present_part() { return *now; }

    // Where the records of a text are not counted yet: to be counted in the run that follows
    // rewind_for(), or now. Throws usage_error for a text that cannot be read to its end.
    void count_while_reading();
    void count_now(progress& shown);
    void take_counts();                                            // after such a run
    std::int64_t record() const { return before + now->record(); } // from 1
    // Valid until next(), and until the next call for a column that is no text.
    std::string_view text(int column) const {
        const int own = own_column(at, column);
        return own < 0 ? std::string_view() : now->text(own);
    }
    text_value value(int column, const number_style& style) const {
        const int own = own_column(at, column);
        if (own < 0) return {text_kind::missing, std::numeric_limits<double>::quiet_NaN(), {}};
        return now->value(own, style);
    }
    const shape* geometry() const { return now->geometry(); } // of this record, may be null
    std::string_view geometry_text() const { return now->geometry_text(); }

    // Of the bytes of a file of the lot. rewind() afterwards.
    file_mark mark_of_part(std::size_t index) { return parts[index].table->mark(); }

    // For who stops before the last record. Throws usage_error where a file was changed.
    void refuse_if_changed() const {
        for (const joined_file& each : parts) each.table->refuse_if_changed();
    }

    // Where a record stands: its file, the line of a text (of anything else the record in the file),
    // and both for messages: "line 52", "day2.csv, line 52".
    std::size_t part_of(std::int64_t record) const;
    std::int64_t line_of(std::int64_t record) const;
    std::string place(std::int64_t record) const;

    int
    column_named(std::string_view name) const; // case counts first, then not; -1 if there is none
    // As a user names one: by its name, "NAME#2" for the second of that name, or its number from 1.
    int column_chosen(std::string_view name) const;
    std::string unique_name(int column) const; // "NAME#2" where a name stands over several columns
    std::string column_list() const;           // for messages

private:
    struct joined_file {
        std::unique_ptr<table_file> table;
        std::vector<int> own;   // columns of the file by those of the lot
        std::int64_t first = 0; // records before it, as far as they are read or known
    };
    std::vector<joined_file> parts;
    bool is_plain = true; // each file has the columns of the first, in its order
    std::size_t at = 0;
    table_file* now = nullptr;
    std::int64_t before = 0; // records of the files before this one

    void start(std::size_t part);
    bool next_part();
    void join_columns(joined_file& further);
};

} // namespace qmx_study
