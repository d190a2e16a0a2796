// The points that a circle or polygons hold, in text and in JSON.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "study/document/json_output.hpp"
#include "study/lot/lot_reader.hpp"

namespace qmx_study {

struct extents {
    double west = 0, east = 0, south = 0, north = 0;
};

struct select_report {
    const table_source& source;
    const lot& points;
    std::string shape; // what was selected with, in words
    json shape_json;
    std::vector<std::int32_t> indices; // zero-based in `points`, ascending
    extents all, selected;             // meaningless where there is no point
    std::string output;                // file that the rows were written to, or ""
};

std::string select_text(const select_report& report);
json select_json(const select_report& report);

} // namespace qmx_study
