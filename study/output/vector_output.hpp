// Tables in formats that hold types and geometries, made in memory. With GDAL: GeoPackage, GeoJSON and,
// where GDAL was built with it, Parquet. Without it: GeoJSON.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "study/output/table_writer.hpp"

namespace qmx_study {

enum class vector_format { gpkg, geojson, parquet };

// Throws usage_error where this build cannot write the format.
void check_can_write(vector_format format, const std::string& output);

struct output_names {
    std::string output;
    std::string built_in; // a file on the disk, to be removed by the caller; "" builds in memory
};

using piece_taker = std::function<void(std::string_view)>;

class vector_output {
public:
    vector_output(vector_format format, const table_layout& layout, const output_names& names);
    ~vector_output();

    // column: of the layout. What is not set is missing.
    void text(std::size_t column, std::string_view value);
    void integer(std::size_t column, std::int64_t value);
    void real(std::size_t column, double value);
    void end_row();

    void write_to(const piece_taker& take); // once, after the last row

private:
    struct state;
    std::unique_ptr<state> now;
};

} // namespace qmx_study
