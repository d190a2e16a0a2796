// What the module for GDAL does for this room.
#pragma once

#include "study/table/spatial_reference.hpp"
#include "study/table/vector_table.hpp"

namespace qmx_study {

constexpr const char* reference_calls_name = "qmx_ic_reference_calls";
constexpr const char* vector_table_calls_name = "qmx_ic_vector_table_calls";

// A coordinate system that was made by the module is taken apart by it too.
struct reference_calls {
    std::string (*name)(const spatial_reference&);
    bool (*is_geographic)(const spatial_reference&);
    bool (*is_same)(const spatial_reference&, const spatial_reference&);
    std::string (*length_unit)(const spatial_reference&);
    coordinate_system (*wgs84)();
    coordinate_system (*from_text)(const std::string&);
};

// The table that reads is the module's; the program holds one that asks it.
struct vector_table_calls {
    vector_table* (*open)(const std::string& file, const std::string& layer);
    void (*close)(vector_table*);
    void (*rewind)(vector_table&);
    void (*rewind_for)(vector_table&, const std::vector<int>& wanted, bool with_geometry);
    bool (*next)(vector_table&);
    bool (*is_changed)(const vector_table&);
    bool (*is_missing)(const vector_table&, int column);
    std::string_view (*text)(const vector_table&, int column);
    double (*number)(const vector_table&, int column);
    const shape* (*geometry)(const vector_table&);
};

} // namespace qmx_study
