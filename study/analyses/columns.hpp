// What the columns of a file hold, and what the program takes them for.
#pragma once

#include <string>
#include <vector>

#include "study/lot/load.hpp"

namespace qmx_study {

struct columns_question {};

struct column_contents {
    std::string name;
    std::string unit;
    std::string taken_as; // "value", "x", ... or ""
    std::int64_t numbers = 0;
    std::int64_t texts = 0;
    std::int64_t missing = 0;
    double smallest = 0; // of the numbers, meaningless without any
    double largest = 0;
    std::string example; // first field that is not missing

    const char* content() const; // "numbers", "text", "numbers and text", "empty"
};

struct columns_answer {
    reading_account reading;
    std::vector<column_contents> columns;
    std::string output = {}; // file that the table was written to, or ""
};

reading_needs needs_of(const columns_question& question);
columns_answer analyse(const columns_question& question, const reading_options& options,
                       loaded_lot& lot, progress& shown);

} // namespace qmx_study
