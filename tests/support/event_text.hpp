// Reads the padded texts of a host's event record, and tells whether a call touched it.
#pragma once

#include "qmx_ic.h"

#include <cstring>
#include <string>

namespace support {

template <std::size_t Length> std::string text_of(const char (&padded)[Length]) {
    std::string text(padded, Length);
    text.erase(text.find_last_not_of(' ') + 1);
    return text;
}

// A record filled with a pattern that no call writes.
inline t_event patterned_event() {
    t_event event;
    std::memset(&event, 0x5A, sizeof event);
    return event;
}

inline bool is_untouched(const t_event& event) {
    const t_event pattern = patterned_event();
    return std::memcmp(&event, &pattern, sizeof event) == 0;
}

} // namespace support
