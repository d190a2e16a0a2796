// What a target claims of every input: properties with a name. A broken one ends the process with that name.
//
// Each property counts how often it was looked at, so that one which no input reaches shows. The environment
// variable QMX_IC_FUZZ_LIE names a property that is then taken for broken wherever it is looked at: with it
// the tests see that a broken property is noticed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace fuzz {

struct property {
    explicit property(const char* named) : name(named), next(first) { first = this; }
    const char* name;
    std::uint64_t looked_at = 0;
    bool is_lie = false;
    property* next;
    static inline property* first = nullptr; // of all that this target has
};

inline void lie_about(const char* name) {
    for (property* each = property::first; each; each = each->next)
        each->is_lie = name && std::strcmp(each->name, name) == 0;
}

[[noreturn]] inline void report_broken(const char* name) {
    std::fprintf(stderr, "broken property: %s\n", name);
    std::fflush(stderr);
    std::abort();
}

template <std::size_t Size> struct property_name {
    char text[Size];
    consteval property_name(const char (&from)[Size]) { // NOLINT: made of a literal
        for (std::size_t i = 0; i < Size; ++i) text[i] = from[i];
    }
};
template <property_name Name> struct registered { static inline property entry{Name.text}; };

template <property_name Name> void require(bool holds) {
    property& each = registered<Name>::entry;
    ++each.looked_at;
    if (holds == each.is_lie) [[unlikely]]
        report_broken(Name.text);
}

} // namespace fuzz
