// Reads the points of a lot from a table and accounts for every row that is not among them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <qmx_ic.h>

#include "study/base/progress.hpp"
#include "study/lot/lot_filters.hpp"
#include "study/lot/projection.hpp"
#include "study/lot/reading_options.hpp"
#include "study/lot/record_numbers.hpp"
#include "study/lot/row_survey.hpp"
#include "study/lot/trait_summary.hpp"
#include "study/table/table_source.hpp"

namespace qmx_study {

// What a command needs of a column.
enum class need {
    unused,   // not read
    taken,    // read where there is such a column; a row without it stays
    complete, // where there is such a column, a row without it is dropped
    required, // the same, and a file without such a column is refused
};

struct reading_needs {
    need position = need::taken;
    need value = need::required;
    need pass = need::taken;
    bool value_is_pass = false; // the value to analyse is the pass count
    bool allow_empty = false;   // a lot without a point is an answer, not an error
    bool are_pairs = false;     // x and y are any two quantities, no positions
    // Rows that lack a value, though there is a column of it, stay with a NaN: they count as dropped,
    // and their positions and passes are there for an analysis that asks for no value.
    bool keep_rows_without_value = false;
    bool mark_missing_passes = false;    // as no_pass instead of 0
    const trait_names* traits = nullptr; // further columns to be summarised
    bool are_spot_tests = false;         // values are called as in a laboratory: EVD, EV2, DCP, CBR
};

// What rows must be beyond --where. The polygon is no matter of the reading: it needs positions in
// their final plane.
struct lot_conditions {
    lot_filters filters;
    trait_names traits;
};

inline constexpr std::int32_t no_pass = INT32_MIN;

struct used_column {
    int index = -1; // in the source; -1 where there is none, or the geometry gives it
    std::string name;
    std::string unit;
    std::string why; // how it was found
    bool found() const { return !name.empty(); }
};

// A column that could have been taken as the value.
struct value_candidate {
    std::string name;
    std::string unit;
    std::int64_t filled = 0; // rows with a number
};

// Rows dropped for one reason.
struct dropped_rows {
    std::string reason; // stable key: fields_out_of_place, value_missing, ...
    std::string text;   // the same in words
    std::int64_t count = 0;
    std::int64_t first_record = 0;
    std::string column, value; // of the first one
};

// What became of the rows of one file.
struct file_rows {
    std::string file;
    std::int64_t first = 0, last = 0; // records of the lot, from 1
    std::int64_t read = 0, dropped = 0, filtered = 0;
};

struct stripped_text {
    std::string column;
    std::string text; // the unit or label of the first value
    bool is_unit = true;
    std::int64_t count = 0;
};

struct lot {
    std::vector<t_icdata> points; // a position that was not read is NaN, a pass 0
    record_numbers records;       // of each point, from 1, ascending
    used_column x, y, value, pass;
    bool is_geographic = false; // x and y are longitude and latitude in degrees
    coordinate_system system;   // of x and y, null where it is not known
    bool is_projected = false;  // by --project
    std::vector<value_candidate> candidates;
    std::vector<dropped_rows> dropped;
    std::vector<stripped_text> stripped;
    std::int64_t rows_read = 0;         // each point of a record with several counts as one
    std::int64_t rows_filtered = 0;     // left out by --where and other filters
    std::vector<filtered_rows> filters; // each of them
    std::vector<file_rows> files;
    std::int64_t without_position = 0; // points among them, where positions need not be there
    std::int64_t without_value = 0;    // points among them that count as dropped
    trait_summary traits;              // of the points with a value
    char decimal = '.';
    std::vector<std::string> notes; // what the user should know of the choices made

    std::int64_t rows_dropped() const;
    bool has_positions() const { return x.found() && y.found(); }
};

// Throws usage_error: no such column, no row left, bad filter.
lot read_lot(table_source& source, const row_survey& survey, const reading_options& options,
             const reading_needs& needs, progress& shown,
             const lot_conditions* conditions = nullptr);

// Takes away the points that were kept without a value; they count as dropped already.
void leave_out_rows_without_value(lot& points);

// The decimal mark that an option names, '\0' for auto; the missing texts with those of the options.
char decimal_of(const reading_options& options);
std::vector<std::string> missing_texts_of(const reading_options& options);

} // namespace qmx_study
