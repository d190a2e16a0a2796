// The two routines of the event module that reach outside it: to an output unit and to the
// processor.
#include "events/event.hpp"
#include "events/unit_table.hpp"

#include <charconv>

namespace qmx {

namespace {

std::string_view words_of(i32 severity) {
    switch (severity) {
    case severity_note: return "  recoverable error not causing failure";
    case severity_failed: return "  recoverable error causing some failure";
    case severity_fatal: return "  fatal error";
    default: return "  undefined severity";
    }
}

} // namespace

void print_event(const i32& unit) {
    if (!unit_exists(unit) || !unit_is_connected(unit)) return;
    char code[12]; // as text without allocating: memory may be what has run out
    const auto end = std::to_chars(code, code + sizeof code, current_event.i_errcode).ptr;

    write_line(unit, "***** Error Message ******");
    write_line(unit, "sub/func name : ", current_event.c_subfunc.trimmed());
    write_line(unit, "description   : ");
    write_line(unit, "  ", current_event.c_description.trimmed());
    write_line(unit, "error code   : ", {code, static_cast<std::size_t>(end - code)});
    write_line(unit, "error type: ");
    write_line(unit, words_of(current_event.i_errtype));
}

void set_fp_mask() {
#if defined(__GNUC__) && (defined(__x86_64__) || defined(__i386__))
    constexpr std::uint16_t all_masks = 0x3F;
    constexpr std::uint16_t overflow_mask = 0x08;
    std::uint16_t control = 0;
    __asm__ volatile("fnstcw %0" : "=m"(control));
    control = static_cast<std::uint16_t>((control & ~all_masks) + overflow_mask);
    __asm__ volatile("fldcw %0" : : "m"(control));
    __asm__ volatile("fnstcw %0" : "=m"(control));
#endif
}

} // namespace qmx
