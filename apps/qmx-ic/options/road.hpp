// The road that every command goes: what stands on it once.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "study/analyses/library_events.hpp"
#include "study/document/json.hpp"
#include "study/lot/reading_options.hpp"
#include "text/printing.hpp"

namespace qmx_terminal {

// Adds FILE and the options that every command which reads points shares.
void add_reading_options(CLI::App& command, qmx_study::reading_options& options);
void add_json_option(CLI::App& command, bool& as_json);

// Where a command writes its table.
struct output_options {
    std::string output;
    bool as_json = false;
};
// Adds --output and --json. table: what is written, "the bins".
void add_output_options(CLI::App& command, output_options& options, const std::string& table);
// Before anything is read. Throws usage_error where the output cannot be written under its name, or is
// one of the inputs.
void check(const output_options& options, const std::vector<std::string>& inputs);

// Throws printed_failure where the analysis failed, though its other results are printed.
void end_failed(const qmx_study::analysis_failure& failure);

// Prints an answer as a document or as text, and ends as the analysis did. Where its table went to
// standard output, the text goes to standard error.
template <class Answer>
void show(const Answer& answer, bool as_json, std::string (*text)(const Answer&)) {
    std::FILE* where = stdout;
    if constexpr (requires { answer.output; })
        if (answer.output == "-") where = stderr;
    print_answer(as_json ? qmx_study::text_of(document_of(answer)) : text(answer), where);
    if constexpr (requires { answer.failure; }) end_failed(answer.failure);
}

} // namespace qmx_terminal
