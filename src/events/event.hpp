// The failure path of the library. Every room above reports through it.
//
// A routine that detects a failure stores a description, its name, a code and a severity in the
// event state and returns 3. Each caller checks has_failed, adds its name to the routine path and
// returns 3 in turn; the export copies the state into the host's record. There are no exceptions. A
// caller may ignore a failure with clear_event and go on.
#pragma once

#include "base/base_types.hpp"
#include "base/padded_text.hpp"
#include "qmx_ic.h"

#include <string_view>

namespace qmx {

inline constexpr i32 code_check = 101;
inline constexpr i32 severity_none = 0;
inline constexpr i32 severity_note = 1;   // recoverable, no failure
inline constexpr i32 severity_failed = 2; // recoverable, but something failed: the one in use
inline constexpr i32 severity_fatal = 3;

struct event_state {
    padded_text<256> c_description;
    padded_text<256> c_subfunc; // routine path, innermost first, joined by "/"
    i32 i_errcode = 0;
    i32 i_errtype = severity_none;
    i32 i_status = 0; // outcome of the last export: 1 or 3
};

extern event_state current_event;

// Blanks the texts and zeroes code and severity; i_status stays.
void clear_event();

// True for severities 2 and 3 only.
bool has_failed();

// Overwrites the event. Trailing blanks of both texts are dropped; each is cut or padded to 256
// characters.
void store_event(const char* description, const char* routine, const i32& code, const i32& severity,
                 i32 description_length, i32 routine_length);

// Calls store_event unless the lowest bit of done is set. Returns whether it did.
bool store_event_if(const i32& done, const char* description, const char* routine, const i32& code,
                    const i32& severity, i32 description_length, i32 routine_length);

// Copies the state into the host's record: i_errclass becomes 0 for i_status 1 or 2, and 2 for
// i_status 3 or 5; for any other i_status nothing is written. Returns 1.
i32 set_event(const event_state& state, t_event& event);

// Writes the event in seven lines to an output unit; without effect unless the unit is connected.
void print_event(const i32& unit);

// Clears all exception masks of the x87 control word but that of overflow; does nothing on other
// processors.
void set_fp_mask();

// ---- One line for each kind of failure ---------------------------------------------------------

// Stores a failure of the routine itself and returns 3.
i32 fail_here(const routine_text& self, std::string_view description, i32 code = code_check);

// For a failure of a routine below: adds "/" and the caller's name to the path and returns 3.
i32 pass_up(const routine_text& self);

// Replaces the path by one name, instead of adding it.
void restart_path(const routine_text& self);

// Stores that memory ran out and returns 3. Callers that ignore other failures check for this one.
i32 fail_out_of_memory(const routine_text& self);
bool has_run_out_of_memory();

} // namespace qmx
