// How work in study/ ends early: with an exception whose type tells the kind of failure, and whose
// fields tell what it concerns. Callers ask the fields; the wording is for people.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <utility>

namespace qmx_study {

// What a wrong input concerns, as far as it is known.
struct error_place {
    std::string option; // that settles it, "--x"; "" where no option does
    std::string file;
    std::int64_t line = 0; // from 1; 0 where no line is meant
    std::string column;
};

// Wrong usage or unreadable input. The message names the file, row, column and value concerned as far
// as there are any, and the remedy.
struct usage_error : std::runtime_error {
    explicit usage_error(const std::string& message, error_place concerned = {})
        : std::runtime_error(message), place(std::move(concerned)) {}

    error_place place;
};

// The library refused the analysis, or the data do not allow it.
struct analysis_error : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// The user called the work off.
struct cancelled_error : std::runtime_error {
    cancelled_error() : std::runtime_error("cancelled") {}
};

} // namespace qmx_study
