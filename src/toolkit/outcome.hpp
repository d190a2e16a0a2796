// How a wrapper turns the outcome of a numerical routine into an event. Each wrapper in the
// toolkit, and the model fit of the semivariogram, asks here after its call.
#pragma once

#include "base/padded_text.hpp"
#include "numeric/errors/error_stack.hpp"

namespace qmx {

inline constexpr i32 allocates_nothing = 0;

// Whether the numerical routine just called ran out of memory, which it posts as a terminal error
// of its storage code.
bool ran_out_of_memory(i32 storage_code);

// A failure of the numerical routine. The wrapper's name stands twice in the path, which hosts
// know. Returns 3.
i32 fail_in_call(const routine_text& self, std::string_view message);

// The event for the numerical routine just called: none for success, memory, or the message for
// another error of type 1 to 4. Refused arguments (terminal errors) are no failure. Returns 1 or 3.
i32 outcome_of(const routine_text& self, std::string_view message,
               i32 storage_code = allocates_nothing);

} // namespace qmx
