#include "numeric/errors/error_stack.hpp"

#include "numeric/errors/message.hpp"
#include "numeric/errors/numeric_frame.hpp"
#include "numeric/errors/print_options.hpp"

#include <cstdlib>

namespace qmx::numeric {

namespace {

constexpr i32 base_level = 1; // belongs to the application
constexpr i32 maximum_level = 64;
constexpr i32 type_count = 7;
constexpr i32 keep = -1;
constexpr i32 stale = -1;

constexpr std::size_t label_width = 8;
constexpr std::string_view labels =
    "UNKNOWN NOTE    ALERT   WARNING FATAL   TERMINALWARNING FATAL   ";
static_assert(labels.size() == (type_count + 1) * label_width);

// By type, from type 1.
using action_table = i32[type_count];
constexpr action_table default_print = {0, 0, 1, 1, 1, 1, 1};
constexpr action_table default_stop = {0, 0, 0, 1, 1, 0, 1};

struct stack_entry {
    i32 type = stale; // of the listed types: E1MES sees to it
    i32 code = stale;
    padded_text<32> name;
};

struct error_state {
    i32 level = base_level;
    // One entry for each level; entry 0 is unused, and above the highest level stands one that is
    // always stale, so that the level just popped can be asked for at any level.
    stack_entry entries[maximum_level + 2];
    action_table print = {};
    action_table stop = {};
    message_values values;
    message_text message;

    constexpr error_state() {
        entries[base_level].type = type_none;
        entries[base_level].code = 0;
        std::copy_n(default_print, type_count, print);
        std::copy_n(default_stop, type_count, stop);
    }
    stack_entry& current() { return entries[level]; }
};

constinit thread_local error_state state;

// Any routine may clear an error on its way up. What nobody cleared is reported at the level that
// the application called.
bool is_reported_at(i32 level) {
    return level == base_level + 1;
}

std::string_view label_of(i32 type) {
    return labels.substr(static_cast<std::size_t>(type) * label_width, label_width);
}

void print_current() {
    const stack_entry& entry = state.current();
    print_error(label_of(entry.type), entry.code, entry.name.trimmed(), state.message.view(),
                page_width());
}

[[noreturn]] void stop_process() {
    std::exit(EXIT_FAILURE);
}

// Misuse of the stack is a defect of the library, not of its data: whatever the tables say, the
// reason is printed and the process ends.
[[noreturn]] void stop_for_misuse(i32 code, std::string_view message) {
    post(type_terminal, code, message);
    print_current();
    stop_process();
}

void push(std::string_view name) {
    ++state.level;
    stack_entry& entry = state.current();
    entry.name.assign(name);
    entry.type = type_none;
    entry.code = 0;
}

// The report of an error at the level about to be popped.
void report(const stack_entry& entry) {
    const i32 type = entry.type;
    if (type < type_note) return;
    const bool is_due = is_reported_at(state.level);
    const bool prints = state.print[type - 1] == 1;
    const bool stops = state.stop[type - 1] == 1;
    if (prints && (is_due || type >= type_terminal)) print_current();
    if (stops && (is_due || type == type_terminal)) stop_process();
}

// The entry that N1RTY and N1RCD are asked about.
const stack_entry& asked_entry(i32 which, std::string_view asker, std::string_view complaint) {
    if (which != 0 && which != 1) {
        if (state.level < maximum_level) push(asker);
        stop_for_misuse(1, complaint);
    }
    return state.entries[state.level + which];
}

void set_action(i32& entry, i32 action, i32 default_action) {
    if (action == 0 || action == 1) entry = action;
    if (action == 2) entry = default_action;
}

} // namespace

void E1PSH(const char* name, const i32& length) {
    if (state.level >= maximum_level) {
        E1STI(1, maximum_level);
        stop_for_misuse(
            1, "Error condition in E1PSH.  Push would cause stack level to exceed %(I1). ");
    }
    push(text_of(name, length));
}

void E1POP(const char* name, const i32& length) {
    const std::string_view given = without_trailing_blanks(
        text_of(name, length).substr(0, sizeof stack_entry::name.characters));
    if (state.level <= base_level) {
        push("E1POP ");
        state.values.store(1, given);
        stop_for_misuse(1,
                        "Error condition in E1POP.  Cannot pop from %(L1) because stack is empty.");
    }
    const stack_entry& entry = state.current();
    if (given != entry.name.trimmed()) {
        state.values.store(1, given);
        state.values.store(2, entry.name.trimmed());
        stop_for_misuse(
            2, "Error condition in E1POP.  %(L1) does not match the name %(L2) in the stack.");
    }
    if (entry.type >= type_alert) {
        stack_entry& caller = state.entries[state.level - 1];
        caller.type = entry.type;
        caller.code = entry.code;
    }
    report(entry);
    stack_entry& above = state.entries[state.level + 1];
    above.type = stale;
    above.code = stale;
    --state.level;
}

void E1MES(const i32& type, const i32& code, const char* message, const i32& length) {
    stack_entry& entry = state.current();
    // A type that does not exist must not pass for success.
    if (type != keep) entry.type = type >= type_none && type <= type_count ? type : type_terminal;
    if (code >= 0) entry.code = code;
    const std::string_view form = text_of(message, length);
    build_message(form == " " ? std::string_view() : form, state.values, state.message);
    state.values.clear();
}

void E1STI(const i32& index, const i32& value) {
    state.values.store(index, value);
}
void E1STR(const i32& index, const f32& value) {
    state.values.store(index, value);
}
void E1STD(const i32& index, const f64& value) {
    state.values.store(index, value);
}
void E1STL(const i32& index, const char* text, const i32& length) {
    state.values.store(index, text_of(text, length));
}

i32 N1RTY(const i32& which) {
    return asked_entry(which, "N1RTY ", ".  The argument passed to N1RTY must be 0 or 1. ").type;
}

i32 N1RCD(const i32& which) {
    return asked_entry(which, "N1RCD ", ".  The argument passed to N1RCD must be 0 or 1. ").code;
}

i32 IERCD() {
    const i32 type = N1RTY(1);
    return type >= type_note && type <= type_fatal ? N1RCD(1) : 0;
}

void ERSET(const i32& severity, const i32& print_action, const i32& stop_action) {
    const numeric_frame frame("ERSET ");
    if (severity < 0 || severity > 5) {
        E1STI(1, severity);
        post(type_terminal, 1,
             "Invalid error severity level indicator.  IERSVR must be 0 to 5.  IERSVR = %(I1)");
    } else if (print_action < -1 || print_action > 2) {
        E1STI(1, print_action);
        post(type_terminal, 2,
             "Invalid value specified for printing action.  IPACT must be -1 to 2.  IPACT = %(I1)");
    } else if (stop_action < -1 || stop_action > 2) {
        E1STI(1, stop_action);
        post(type_terminal, 3,
             "Invalid value specified for stopping action.  ISACT must be -1 to 2.  ISACT = %(I1)");
    }
    if (N1RTY(0) >= 1) return;
    for (i32 type = type_note; type <= type_count; ++type) {
        const bool is_meant = severity == 0 || type == severity ||
                              (type == type_warning_everywhere && severity == type_warning) ||
                              (type == type_fatal_everywhere && severity == type_fatal);
        if (!is_meant) continue;
        set_action(state.print[type - 1], print_action, default_print[type - 1]);
        set_action(state.stop[type - 1], stop_action, default_stop[type - 1]);
    }
}

std::string_view last_message() {
    return state.message.view();
}

} // namespace qmx::numeric
