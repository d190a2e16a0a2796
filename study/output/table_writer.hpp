// A table written to the format that its name tells: .csv, .tsv, .txt (each also .gz), .gpkg, .geojson
// or .parquet; "-" is a CSV on standard output.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "study/base/output_file.hpp"
#include "study/output/byte_output.hpp"
#include "study/table/spatial_reference.hpp"

namespace qmx_study {

enum class table_type { text, integer, real };

struct table_column {
    std::string name;
    table_type type = table_type::real;
};

// How programs for maps draw the rows, in the two languages that they read.
struct layer_style {
    std::string name, what;
    std::string qml, sld;
    bool is_default = false;
};

struct table_layout {
    std::vector<table_column> columns;
    // Columns that make the point of a row in formats with geometries; -1 where there are none. They
    // stay columns too where that is said.
    int x = -1, y = -1;
    bool keeps_positions = false;
    coordinate_system system; // of the points, null where it is not known
    std::string length_unit;  // of a plane whose system is not known: "m", "ft", ""
    char separator = ',';     // of a text, unless its name asks for tabs
    // A table of many rows: with GDAL it is built on the disk, where a format is made as a whole.
    bool is_long = false;
    bool in_degrees = false;         // GeoJSON has its points in WGS 84, as its readers expect
    std::vector<layer_style> styles; // stored in a GeoPackage
    std::string time_stamp;          // of a GeoPackage, ISO 8601; "" is the present
};

class vector_output;

class table_writer {
public:
    // Throws usage_error: an unknown ending, a format that this build cannot write, or GeoJSON with
    // points in an unknown system: it would take them as degrees.
    table_writer(const std::string& output, table_layout layout);
    ~table_writer();

    // The fields of a row in order; each row ends with end_row().
    table_writer& text(std::string_view value);
    table_writer& integer(std::int64_t value);
    table_writer& real(double value); // a NaN is missing
    table_writer& real(float value);  // with the digits of 32 bits
    table_writer& missing();
    void end_row();

    void close(); // throws usage_error; without it there is no file

private:
    table_layout layout;
    std::string name;
    byte_output bytes;
    std::optional<temporary_name> built_in;  // of a long table, behind what is built in it
    std::unique_ptr<vector_output> features; // null for a text
    std::string buffer;
    std::size_t column = 0;

    void field(std::string_view value);
};

// A table that was made as a CSV, without quotation marks: in formats with types a column is one of
// numbers where all its fields are numbers or empty. Throws usage_error.
void write_csv_text(const std::string& output, std::string_view csv);

// Whether the name asks for a format other than text, in which columns have types.
bool is_vector_name(const std::string& output);
// Throws usage_error where nothing can be written under such a name.
void check_output_name(const std::string& output);

} // namespace qmx_study
