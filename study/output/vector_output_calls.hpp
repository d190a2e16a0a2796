// What the module for GDAL does for this room.
#pragma once

#include "study/output/vector_output.hpp"

namespace qmx_study {

constexpr const char* vector_output_calls_name = "qmx_ic_vector_output_calls";

struct vector_output_calls {
    decltype(&check_can_write) check;
    vector_output* (*open)(vector_format, const table_layout&, const output_names&);
    void (*close)(vector_output*);
    void (*text)(vector_output&, std::size_t column, std::string_view value);
    void (*integer)(vector_output&, std::size_t column, std::int64_t value);
    void (*real)(vector_output&, std::size_t column, double value);
    void (*end_row)(vector_output&);
    void (*write_to)(vector_output&, const piece_taker&);
};

} // namespace qmx_study
