// What a file holds and what the program takes from it, in text and in JSON.
#pragma once

#include <string>
#include <vector>

#include "study/document/json_output.hpp"
#include "study/lot/lot_reader.hpp"

namespace qmx_study {

struct column_contents {
    std::string name;
    std::string unit;
    std::string taken_as; // "value", "x", ... or ""
    std::int64_t numbers = 0;
    std::int64_t texts = 0;
    std::int64_t missing = 0;
    double smallest = 0; // of the numbers, meaningless without any
    double largest = 0;
    std::string example; // first cell that is not missing
};

struct columns_report {
    const table_source& source;
    const lot& points;
    std::vector<column_contents> columns;
};

std::string columns_text(const columns_report& report);
json columns_json(const columns_report& report);

} // namespace qmx_study
