// What all calls of an export have in common: the event, other calls between two of them.
#pragma once

#include <algorithm>
#include <cstring>
#include <string_view>

#include "qmx_ic.h"
#include "support/guarded.hpp"
#include "support/input_bytes.hpp"

namespace fuzz {

// The event of one call. `settle` looks at it once the call has returned. may_fail: for other reasons than
// memory, which none of these calls lacks.
template <bool may_fail = true> class call_event {
public:
    t_event* record() { return event_.data(); }
    std::string_view message() const { return trimmed(event_[0].c_description); }

    // routine: the export's name, with which the path of a failure ends unless it was cut.
    void settle(int32_t status, std::string_view routine) {
        require<"a call ends with success or failure">(status == QMX_IC_SUCCESS ||
                                                       status == QMX_IC_FAILURE);
        require_guards(event_);
        if (status == QMX_IC_SUCCESS) {
            require<"success leaves the event untouched">(event_.is_untouched());
            return;
        }
        if constexpr (may_fail) {
            const t_event& event = event_[0];
            const std::string_view path = trimmed(event.c_subfunc);
            require<"failure fills the event">(
                event.i_errclass == 2 && (event.i_errcode == 101 || event.i_errcode == 102) &&
                is_text(event.c_description) && is_text(event.c_subfunc) && !message().empty());
            require<"the path of a failure ends with the export">(
                path.ends_with(routine) || path.size() == sizeof event.c_subfunc);
        } else {
            report_broken("it does not fail");
        }
    }

private:
    guarded<t_event> event_{1};

    template <std::size_t Size> static std::string_view trimmed(const char (&text)[Size]) {
        std::string_view view(text, Size);
        return view.substr(0, view.find_last_not_of(' ') + 1);
    }
    template <std::size_t Size> static bool is_text(const char (&text)[Size]) {
        return std::all_of(text, text + Size, [](char c) { return c >= ' ' && c <= '~'; });
    }
};

// Whether an input is asked a second time: one in four is, so that the others take half the time.
inline bool is_repeated(std::uint8_t another) {
    return another % 4 == 0;
}

// A call of another export, sound or failing: a host calls them in any order, and what one leaves behind
// changes no other.
void call_another(std::uint8_t which);

template <class Value> bool same_bits(const Value& a, const Value& b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}

} // namespace fuzz
