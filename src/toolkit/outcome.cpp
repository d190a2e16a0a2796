#include "toolkit/outcome.hpp"

#include "events/event.hpp"

namespace qmx {

bool ran_out_of_memory(i32 storage_code) {
    return numeric::N1RTY(1) == numeric::type_terminal && numeric::N1RCD(1) == storage_code;
}

i32 fail_in_call(const routine_text& self, std::string_view message) {
    fail_here(self, message);
    return pass_up(self);
}

i32 outcome_of(const routine_text& self, std::string_view message, i32 storage_code) {
    if (storage_code != allocates_nothing && ran_out_of_memory(storage_code))
        return fail_out_of_memory(self);
    return numeric::IERCD() == 0 ? status_success : fail_in_call(self, message);
}

} // namespace qmx
