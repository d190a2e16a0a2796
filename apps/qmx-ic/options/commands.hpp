// The commands of the program and how they end.
//
// Each command lives in its own <name>.cpp and has one function, add_<name>_command, that adds its
// subcommand to the program and sets the subcommand's callback. The callback goes the road: options,
// lot, question, answer, text or document. It returns when all went well and throws otherwise. Results
// go to standard output, anything else (progress, notes about the run) to standard error.
#pragma once

#include <CLI/CLI.hpp>

#include "study/base/errors.hpp"

namespace qmx_terminal {

// Exit codes of the program.
enum exit_code : int { done = 0, analysis_failed = 1, wrong_usage = 2, target_missed = 3 };

// The analysis is done and printed, but its target is missed, and the user asked for that as the exit
// code: 3.
struct target_not_met {};

// The analysis failed, and its answer, which says so, is printed.
struct printed_failure : qmx_study::analysis_error {
    using analysis_error::analysis_error;
};

void add_columns_command(CLI::App& program);
void add_coverage_command(CLI::App& program);
void add_curve_command(CLI::App& program);
void add_fit_command(CLI::App& program);
void add_generate_command(CLI::App& program);
void add_grid_command(CLI::App& program);
void add_init_command(CLI::App& program);
void add_report_command(CLI::App& program);
void add_select_command(CLI::App& program);
void add_semivariogram_command(CLI::App& program);
void add_spots_command(CLI::App& program);
void add_stats_command(CLI::App& program);

} // namespace qmx_terminal
