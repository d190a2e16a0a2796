// The steps that every export shares, written once.
#pragma once

#include "events/event.hpp"

namespace qmx {

// A report of a failed export is written to this unit; as it is never connected, exports are silent
// and the host learns of a failure through the return code and the event record.
inline constexpr i32 unconnected_unit = 0;

// Puts the outcome of a failed export into the host's record (an export without one passes null).
inline i32 report_failure(t_event* event) {
    current_event.i_status = status_failure;
    print_event(unconnected_unit);
    if (event != nullptr) set_event(current_event, *event);
    return status_failure;
}

// The last steps of an export. What it returns follows from the event state alone; after success
// the host's record is left as it was.
inline i32 finish_export(const routine_text& self, t_event* event) {
    if (has_failed()) {
        pass_up(self);
        return report_failure(event);
    }
    current_event.i_status = status_success;
    return status_success;
}

} // namespace qmx
