// The one failure path of the library.
//
// A routine that detects a failure stores a description, its name, a code and a severity in the
// event state and returns 3. Each caller asks has_failed, adds its name to the routine path and
// returns 3 in turn; the export copies the state into the host's record. No exceptions, no
// unwinding; a routine may forgive a failure with clear_event and go on.
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

// Overwrites whatever event was there. Trailing blanks of both texts do not count; each is cut or
// padded to 256 characters.
void store_event(const char* description, const char* routine, const i32& code, const i32& severity,
                 i32 description_length, i32 routine_length);

// As store_event, unless the lowest bit of done is set: then nothing is stored. Returns whether it
// stored.
bool store_event_if(const i32& done, const char* description, const char* routine, const i32& code,
                    const i32& severity, i32 description_length, i32 routine_length);

// Copies the state into the host's record: i_errclass becomes 0 for i_status 1 or 2, and 2 for
// i_status 3 or 5; for any other i_status nothing is written. Returns 1.
i32 set_event(const event_state& state, t_event& event);

// Writes the event in seven lines to an output unit; without effect unless the unit is connected.
void print_event(const i32& unit);

// Leaves only the overflow mask set in the floating-point control word, where the processor has
// one; elsewhere does nothing.
void set_fp_mask();

// ---- What a routine says in one line -----------------------------------------------------------

// A failure of the routine's own: stores it and returns 3.
i32 fail_here(const routine_text& self, std::string_view description, i32 code = code_check);

// A failure from below: adds "/" and the routine's name to the path and returns 3.
i32 pass_up(const routine_text& self);

// Replaces the path by one name: the exception to the rule that names are added.
void restart_path(const routine_text& self);

// The routine ran out of memory; returns 3. Asked by routines that forgive other failures.
i32 fail_out_of_memory(const routine_text& self);
bool has_run_out_of_memory();

} // namespace qmx
