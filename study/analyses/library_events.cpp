#include "study/analyses/library_events.hpp"

#include <fmt/format.h>

namespace qmx_study {

namespace {

struct event_row {
    std::string_view message;
    known_event event;
};
constexpr event_row events[] = {
    {"memory could not be allocated", known_event::no_memory},
    {"current area is negative", known_event::outline_area_is_negative},
    {"Only the curvefit fails", known_event::only_the_fit_failed},
};

} // namespace

known_event event_of(std::string_view message) {
    for (const event_row& row : events)
        if (row.message == message) return row.event;
    return known_event::other;
}

std::string library_failure::text() const {
    return fmt::format("{}{}\n  code {}, class {}, in {}", message,
                       event == known_event::no_memory
                           ? "; the lot is too large for the memory of this machine, divide it"
                           : "",
                       code, severity, path);
}

} // namespace qmx_study
