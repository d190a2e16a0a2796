// The road that every command goes: what stands on it once.
#pragma once

#include <string>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "study/analyses/library_events.hpp"
#include "study/document/json.hpp"
#include "study/lot/reading_options.hpp"

namespace qmx_terminal {

// Adds FILE and the options that every command which reads points shares.
void add_reading_options(CLI::App& command, qmx_study::reading_options& options);
void add_json_option(CLI::App& command, bool& as_json);

// Throws printed_failure where the analysis failed, though its other results are printed.
void end_failed(const qmx_study::analysis_failure& failure);

// Prints an answer as a document or as text, and ends as the analysis did.
template <class Answer>
void show(const Answer& answer, bool as_json, std::string (*text)(const Answer&)) {
    fmt::print("{}", as_json ? qmx_study::text_of(document_of(answer)) : text(answer));
    if constexpr (requires { answer.failure; }) end_failed(answer.failure);
}

} // namespace qmx_terminal
