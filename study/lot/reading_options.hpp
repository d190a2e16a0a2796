// How a table is to be read as a lot: what every command that reads points is asked.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace qmx_study {

struct reading_options {
    std::string file;
    std::vector<std::string> further_files; // of the same lot
    std::string layer;
    std::string x, y, value, pass; // names of columns, empty: found by their names
    std::vector<std::string> missing;
    std::string where;
    std::string decimal = "auto";
    std::string project;
    std::string crs; // the system that the positions are in, where the file does not say it
    std::int64_t header_line = 0; // of a text, from 1; 0: found
    std::string comment;          // a line of a text that starts with it is no row
    int threads = 1;              // that read a text; what is read is the same with any number
    bool is_careful = false;      // each row is looked at by itself, however plain it is

    std::vector<std::string> files() const {
        std::vector<std::string> all{file};
        all.insert(all.end(), further_files.begin(), further_files.end());
        return all;
    }
};

} // namespace qmx_study
