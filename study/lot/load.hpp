// A table opened, surveyed and read as a lot: the first steps of every analysis, and what became of the
// rows on the way.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "study/lot/lot_reader.hpp"

namespace qmx_study {

struct opened_table {
    std::unique_ptr<table_source> source;
    row_survey survey;
};

struct loaded_lot {
    opened_table table;
    lot data;
    // The user named no value column, and several could have been taken.
    bool value_is_chosen = false;
    // Points that an analysis of the finished layer left out: earlier passes of their cells, and those
    // that lie in no cell.
    std::int64_t earlier_passes = 0;
    std::int64_t left_without_position = 0;

    const table_source& source() const { return *table.source; }
    std::string place(std::int64_t record) const { return source().place(record); }
};

// Throw usage_error.
opened_table open_table(const reading_options& options, progress& shown);
loaded_lot read_table(opened_table table, const reading_options& options,
                      const reading_needs& needs, progress& shown,
                      const lot_conditions* conditions = nullptr);
loaded_lot load(const reading_options& options, const reading_needs& needs, progress& shown,
                const lot_conditions* conditions = nullptr);

// Rows dropped for one reason, with the place of the first one.
struct dropped_account {
    dropped_rows rows;
    std::string first_file;
    std::int64_t first_line = 0; // of a text; of other formats the record
    std::string first_place;     // "line 52", "record 51"
};

// What became of the rows of one of the files.
struct file_account {
    std::string file;
    std::int64_t read = 0, used = 0, dropped = 0, filtered = 0;
    std::int64_t left_out() const { return read - used - dropped - filtered; } // earlier passes
};

// What was read from a file and what was not: the head of every answer.
struct reading_account {
    std::string file, format;
    std::vector<file_account> files;
    std::size_t columns = 0; // of the file
    bool is_delimited = false;
    char decimal = '.';
    used_column x, y, value, pass;
    std::string system; // of the positions, "" where it is not known
    bool is_projected = false;
    std::vector<value_candidate> candidates;
    std::vector<dropped_account> dropped;
    std::vector<stripped_text> stripped;
    std::int64_t rows_read = 0;
    std::int64_t rows_used = 0;
    std::int64_t rows_dropped = 0;
    std::int64_t rows_filtered = 0;
    std::vector<filtered_rows> filters;     // that left them out
    std::int64_t without_position = 0;      // of those in use
    std::int64_t earlier_passes = 0;        // left out for the finished layer
    std::int64_t left_without_position = 0; // left out with them
    std::vector<std::string> notes;

    bool has_positions() const { return x.found() && y.found(); }
};

reading_account account_of(const loaded_lot& lot);

} // namespace qmx_study
