// How a table is to be read as a lot: what every command that reads points is asked.
#pragma once

#include <string>
#include <vector>

namespace qmx_study {

struct reading_options {
    std::string file;
    std::string layer;
    std::string x, y, value, pass; // names of columns, empty: found by their names
    std::vector<std::string> missing;
    std::string where;
    std::string decimal = "auto";
    std::string project;
};

} // namespace qmx_study
