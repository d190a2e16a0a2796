// Tables in formats that hold types and geometries, made in memory. With GDAL: GeoPackage, GeoJSON and,
// where GDAL was built with it, Parquet. Without it: GeoJSON.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "study/output/table_writer.hpp"

namespace qmx_study {

enum class vector_format { gpkg, geojson, parquet };

// Throws usage_error where this build cannot write the format.
void check_can_write(vector_format format, const std::string& output);

class vector_output {
public:
    vector_output(vector_format format, const table_layout& layout, const std::string& output);
    ~vector_output();

    // column: of the layout. What is not set is missing.
    void text(std::size_t column, std::string_view value);
    void integer(std::size_t column, std::int64_t value);
    void real(std::size_t column, double value);
    void end_row();

    void write_to(byte_output& bytes); // once, after the last row

private:
    struct state;
    std::unique_ptr<state> now;
};

} // namespace qmx_study
