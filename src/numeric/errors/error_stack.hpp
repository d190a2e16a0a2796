// Chamber errors: the error stack of the numerical routines, its messages, and the page settings
// that printed errors follow. Every numerical routine opens with numeric_frame.hpp; the toolkit
// reads the stack to turn an outcome into an event. Nothing here knows events or computes anything.
//
// A numerical routine returns no status. It pushes its name on entry, may post an error (a type and
// a code) at its own level, and pops its name on exit; a caller inspects the level just popped.
// Print and stop tables say, by type, whether an error is written to the console and whether it
// ends the process; both are on for the serious types until ERSET turns them off, as every caller
// in this library does. All state is per thread and made at first use.
//
//   type  label     print  stop  rises to the caller  seen by IERCD
//   0     (none)
//   1     NOTE      no     no    no                   yes
//   2     ALERT     no     no    yes                  yes
//   3     WARNING   yes    no    yes                  yes
//   4     FATAL     yes    yes   yes                  yes
//   5     TERMINAL  yes    yes   yes                  no
//   6     WARNING   yes    no    yes                  no    (printed at every level)
//   7     FATAL     yes    yes   yes                  no    (printed at every level)
#pragma once

#include "base/base_types.hpp"

#include <string_view>

namespace qmx::numeric {

inline constexpr i32 type_none = 0;
inline constexpr i32 type_note = 1;
inline constexpr i32 type_alert = 2;
inline constexpr i32 type_warning = 3;
inline constexpr i32 type_fatal = 4;
inline constexpr i32 type_terminal = 5;
inline constexpr i32 type_warning_everywhere = 6;
inline constexpr i32 type_fatal_everywhere = 7;

// Pushes a routine's name (32 characters are kept; trailing blanks do not count); clears type and
// code at the new level. There is room for 64 levels, the application's own among them; to push
// more ends the process.
void E1PSH(const char* name, const i32& length);

// Pops it. Types 2 to 7 are copied to the level below. Then the error is reported as the tables
// say: types 1 to 4 when the routine is one that the application called, since any routine on the
// way up may still clear them; types 5 to 7 are printed at every level, 5 stops at once, 6 and 7
// stop where 1 to 4 do. A name that does not match, or an empty stack, ends the process whatever
// the tables say.
void E1POP(const char* name, const i32& length);

// Posts an error at the current level and builds its message; the placeholders %(I1), %(R1), %(D1)
// and %(L1) take the values stored with E1STI and its like, which are then used up, and %/ breaks
// the line. A placeholder without a value stays and is reported at the end of the message. Type -1
// keeps the type, a negative code keeps the code; type 0 with code 0 and a message of one blank
// clears the level. A type that does not exist is posted as terminal.
void E1MES(const i32& type, const i32& code, const char* message, const i32& length);

// Store the value of %(In), %(Rn), %(Dn), %(Ln) for the next message; n is from 1 to 9, any other
// is dropped. Of a text 128 characters are kept.
void E1STI(const i32& index, const i32& value);
void E1STR(const i32& index, const f32& value);
void E1STD(const i32& index, const f64& value);
void E1STL(const i32& index, const char* text, const i32& length);

// Error type (N1RTY) and code (N1RCD) at the current level (0) or at the level just popped (1); -1
// where nothing was popped since the current routine was called. Any other argument ends the
// process.
i32 N1RTY(const i32& which);
i32 N1RCD(const i32& which);

// The code at the level just popped if its type is from 1 to 4, else 0.
i32 IERCD();

// Sets the print and stop tables of this thread: severity 0 for all types, 1 to 5 for one (3 also
// sets 6, 4 also sets 7); actions -1 leave, 0 off, 1 on, 2 back to the default. An argument out of
// range is a terminal error (code 1 severity, 2 print, 3 stop action) and nothing is set.
void ERSET(const i32& severity, const i32& print_action, const i32& stop_action);

// The last message posted on this thread, placeholders filled, up to 1024 characters; empty once
// the level was cleared. It stands until the next one is posted.
std::string_view last_message();

} // namespace qmx::numeric
