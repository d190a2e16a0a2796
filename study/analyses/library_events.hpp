// The library's events that the analyses tell apart.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "study/base/errors.hpp"

namespace qmx_study {

// Code 101 stands for several events: these are known by their whole message.
enum class known_event {
    other,
    no_memory,
    outline_area_is_negative,
    only_the_fit_failed, // of a semivariogram, whose lags stand
};

known_event event_of(std::string_view message);

// What the library said of a call that failed.
struct library_failure {
    std::string message;
    std::string path; // the failing routine and its callers
    std::int32_t code = 0;
    std::int32_t severity = 0;
    known_event event = known_event::other;
    std::string text() const; // all of it, in two lines
};

// Thrown where nothing is left to show.
struct library_error : analysis_error {
    explicit library_error(library_failure failure)
        : analysis_error(failure.text()), event(std::move(failure)) {}
    library_failure event;
};

// An analysis that failed, though it has results to show.
struct analysis_failure {
    std::optional<library_failure> event; // where the library failed itself
    std::string explanation;              // in terms of the data; "" where nothing failed

    bool has_failed() const { return !explanation.empty(); }
};

} // namespace qmx_study
