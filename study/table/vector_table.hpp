// The records of a vector format: GeoPackage, Shapefile, GeoJSON and whatever else GDAL reads. A build
// without GDAL reads GeoJSON itself and refuses the rest by name.
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

class vector_table {
public:
    // Throws usage_error. layer: "" where the file has just one.
    vector_table(const std::string& file, const std::string& layer);
    ~vector_table();

    const std::string& format() const { return format_name; } // "GPKG", "GeoJSON", ...
    const std::vector<source_column>& columns() const { return column_list; }
    std::int64_t rows() const { return row_count; } // -1 where the format does not know in advance
    bool has_geometry() const { return is_spatial; }
    const coordinate_system& system() const { return reference; }

    void rewind();
    // Only these columns will be asked for, and the geometry where it is said.
    void rewind_for(const std::vector<int>& wanted, bool with_geometry);
    bool reads_batches() const {
        return in_batches;
    }            // many records at a time: quicker, not different
    bool next(); // false after the last record, and after a failure
    const std::string& failure() const { return reason; } // "" where there is none

    bool is_changed() const; // whether the file is another than the one that was opened

    bool is_missing(int column) const;
    std::string_view text(int column) const; // valid until the next call, and until next()
    double number(int column) const;         // of a numeric column
    const shape* geometry() const;           // of this record, null where it has none

private:
    struct state;
    std::unique_ptr<state> now;
    std::string format_name, reason;
    std::vector<source_column> column_list;
    std::int64_t row_count = -1;
    bool is_spatial = false;
    bool in_batches = false;
    coordinate_system reference;
};

// The message for a file that is no table of any known kind. reason: "" where it is not known.
[[noreturn]] void refuse_unknown_format(const std::string& file, const std::string& reason);

} // namespace qmx_study
