// The options that every command which reads points shares.
#pragma once

#include <CLI/CLI.hpp>

#include "study/lot/reading_options.hpp"

namespace qmx_study {

// Adds FILE and the options to a subcommand.
void add_reading_options(CLI::App& command, reading_options& options);

} // namespace qmx_study
