// The first and last steps of every export. The exports are the roof: they set up the call's arithmetic,
// clear the event and the outputs, call one driver, and report to the host; nothing includes them.
#pragma once

#include "events/event.hpp"
#include "exports/call_arithmetic.hpp"

namespace qmx {

// Failed exports print their event to this unit, which is never connected: the host learns of a
// failure from the return value and the event record alone.
inline constexpr i32 unconnected_unit = 0;

// Copies the failure into the host's record; null for an export without one.
inline i32 report_failure(t_event* event) {
    current_event.i_status = status_failure;
    print_event(unconnected_unit);
    if (event != nullptr) set_event(current_event, *event);
    return status_failure;
}

// Ends an export. The event state alone decides the return value; on success the host's record is
// left as it was.
inline i32 finish_export(const routine_text& self, t_event* event) {
    if (has_failed()) {
        pass_up(self);
        return report_failure(event);
    }
    current_event.i_status = status_success;
    return status_success;
}

} // namespace qmx
