// The features of a GeoJSON, read without any other library.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "study/table/shape.hpp"
#include "study/table/source_column.hpp"
#include "study/table/spatial_reference.hpp"

namespace qmx_study {

// As a vector_table, which a build may make of it.
class geojson_table {
public:
    // Throws usage_error. layer: "" or the name of the collection.
    geojson_table(const std::string& file, const std::string& layer);
    ~geojson_table();

    const std::vector<source_column>& columns() const { return column_list; }
    std::int64_t rows() const { return row_count; }
    bool has_geometry() const { return is_spatial; }
    const coordinate_system& system() const { return reference; }

    void rewind();
    bool next(); // false after the last feature, and after a failure
    const std::string& failure() const { return reason; }

    bool is_missing(int column) const;
    std::string_view text(int column) const;
    double number(int column) const;
    const shape* geometry() const;

private:
    struct state;
    std::unique_ptr<state> now;
    std::string reason;
    std::vector<source_column> column_list;
    std::int64_t row_count = 0;
    bool is_spatial = false;
    coordinate_system reference;
};

} // namespace qmx_study
