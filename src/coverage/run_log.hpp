// The run log of a coverage call: inputs, intermediate results and results, line by line. For
// debugging sessions: no export turns it on, and while it is off every routine here does nothing.
#pragma once

#include "base/base_types.hpp"

#include <string_view>

namespace qmx {

struct coverage_state;

struct run_log {
    bool is_on = false;
    i32 unit = 0;
};

// Turns the log on and opens its file, "icd_coverage_cal.txt" among the temporary files.
void open_run_log(run_log& log);

void log_inputs(const coverage_state& state);
void log_results(const coverage_state& state);
void log_exit(const coverage_state& state, bool success); // and closes the log

// One line: texts, each followed by its value.
void log_line(const run_log& log, std::string_view text);
void log_line(const run_log& log, std::string_view text, i64 value);
void log_line(const run_log& log, std::string_view text, f64 value);
void log_line(const run_log& log, std::string_view text, i64 value, std::string_view more,
              i64 other);

// Vertices, given as interleaved pairs: one numbered line each, with all digits.
void log_vertices(const run_log& log, const f64* pairs, i64 count);

// A bin's or point's number and its count.
void log_count(const run_log& log, i64 number, i64 count);

} // namespace qmx
