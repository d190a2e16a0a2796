// A text builder with a fixed buffer, for messages and log lines. It never allocates, since the
// message may be that memory ran out; text that does not fit is cut off.
#pragma once

#include "base/base_types.hpp"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdio>
#include <string_view>

namespace qmx {

template <std::size_t Capacity> struct bounded_text {
    char characters[Capacity] = {};
    std::size_t length = 0;

    constexpr std::string_view view() const { return {characters, length}; }
    constexpr void append(std::string_view more) {
        const std::size_t count = std::min(more.size(), Capacity - length);
        std::copy_n(more.data(), count, characters + length);
        length += count;
    }
    constexpr void assign(std::string_view text) {
        length = 0;
        append(text);
    }
    // The shortest decimal that reads back as the same number.
    template <class Number> void append_number(Number value) {
        char digits[32];
        const auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
        append({digits, static_cast<std::size_t>(end - digits)});
    }
    // Right-justified in a field of the given width; wider where the number needs it.
    void append_field(i32 value, int width) {
        char digits[32];
        append_written(digits, std::snprintf(digits, sizeof digits, "%*d", width, value));
    }
    void append_field(f64 value, int width, int decimals) {
        char digits[400]; // the largest f64 has 309 digits before the point
        append_written(digits,
                       std::snprintf(digits, sizeof digits, "%*.*f", width, decimals, value));
    }

private:
    void append_written(const char* digits, int count) {
        append({digits, static_cast<std::size_t>(count > 0 ? count : 0)});
    }
};

} // namespace qmx
