// The options that every command which reads points shares.
#pragma once

#include <string>
#include <vector>

#include <CLI/CLI.hpp>

namespace qmx_ic_app {

struct reading_options {
    std::string file;
    std::string layer;
    std::string x, y, value, pass; // names of columns, empty: found by their names
    std::vector<std::string> missing;
    std::string where;
    std::string decimal = "auto";
    std::string project;
};

// Adds FILE and the options to a subcommand.
void add_reading_options(CLI::App& command, reading_options& options);

} // namespace qmx_ic_app
