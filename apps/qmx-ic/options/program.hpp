// The whole program as options: what main parses, and what the manual and the completions are made of.
#pragma once

#include <string>

#include <CLI/CLI.hpp>

namespace qmx_terminal {

// Adds all commands.
void set_up(CLI::App& program);

// What may have been meant where a command line names no command or option that there is: " did you
// mean stats?", or "" where nothing comes near.
std::string suggestion_for(const CLI::App& program, int argc, const char* const* argv);

// The command that a command line names, "" without one.
std::string command_of(const CLI::App& program, int argc, const char* const* argv);

} // namespace qmx_terminal
