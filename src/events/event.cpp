#include "events/event.hpp"

namespace qmx {

namespace {

constexpr std::string_view out_of_memory = "memory could not be allocated";

std::string_view text_of(const char* characters, i32 length) {
    return without_trailing_blanks({characters, static_cast<std::size_t>(length > 0 ? length : 0)});
}

} // namespace

event_state current_event;

void clear_event() {
    current_event.c_description.assign({});
    current_event.c_subfunc.assign({});
    current_event.i_errcode = 0;
    current_event.i_errtype = severity_none;
}

bool has_failed() {
    return (current_event.i_errtype & ~1) == 2;
}

void store_event(const char* description, const char* routine, const i32& code, const i32& severity,
                 i32 description_length, i32 routine_length) {
    current_event.c_description.assign(text_of(description, description_length));
    current_event.c_subfunc.assign(text_of(routine, routine_length));
    current_event.i_errcode = code;
    current_event.i_errtype = severity;
}

bool store_event_if(const i32& done, const char* description, const char* routine, const i32& code,
                    const i32& severity, i32 description_length, i32 routine_length) {
    if ((done & 1) != 0) return false;
    store_event(description, routine, code, severity, description_length, routine_length);
    return true;
}

i32 set_event(const event_state& state, t_event& event) {
    i32 event_class = 0;
    switch (state.i_status) {
    case 1:
    case 2: event_class = 0; break;
    case 3:
    case 5: event_class = 2; break;
    default: return status_success;
    }
    std::copy_n(state.c_description.characters, sizeof event.c_description, event.c_description);
    std::copy_n(state.c_subfunc.characters, sizeof event.c_subfunc, event.c_subfunc);
    event.i_errcode = state.i_errcode;
    event.i_errclass = event_class;
    return status_success;
}

i32 fail_here(const routine_text& self, std::string_view description, i32 code) {
    const std::string_view name = self.trimmed();
    store_event(description.data(), name.data(), code, severity_failed,
                static_cast<i32>(description.size()), static_cast<i32>(name.size()));
    return status_failure;
}

i32 pass_up(const routine_text& self) {
    current_event.c_subfunc.append("/");
    current_event.c_subfunc.append(self.trimmed());
    return status_failure;
}

void restart_path(const routine_text& self) {
    current_event.c_subfunc.assign(self.trimmed());
}

i32 fail_out_of_memory(const routine_text& self) {
    return fail_here(self, out_of_memory);
}

bool has_run_out_of_memory() {
    return has_failed() && current_event.c_description.trimmed() == out_of_memory;
}

} // namespace qmx
