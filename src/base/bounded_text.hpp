// A text builder with a fixed buffer, for messages and log lines. It never allocates, since the
// message may be that memory ran out; text that does not fit is cut off.
#pragma once

#include "base/base_types.hpp"

#include <algorithm>
#include <charconv>
#include <cstddef>
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
    // Right-justified in a field of the given width; wider where the number needs it. Always with a
    // decimal point, whatever the locale of the host.
    void append_field(i32 value, int width) {
        char digits[16];
        append_justified(width, digits, std::to_chars(digits, digits + sizeof digits, value));
    }
    void append_field(f64 value, int width, int decimals) {
        char digits[400]; // the largest f64 has 309 digits before the point
        append_justified(width, digits,
                         std::to_chars(digits, digits + sizeof digits, value,
                                       std::chars_format::fixed, decimals));
    }
    // The same with so many significant digits, trailing zeros among them: with an exponent below 1e-4
    // and where the digits do not reach the point.
    void append_significant(f64 value, int width, int significant) {
        char digits[64];
        char* const end = digits + sizeof digits - 1;
        auto written =
            std::to_chars(digits, end, value, std::chars_format::scientific, significant - 1);
        const char* const mark = std::find(digits, written.ptr, 'e');
        if (mark != written.ptr) {
            int exponent = 0;
            std::from_chars(mark + (mark[1] == '+' ? 2 : 1), written.ptr, exponent);
            const int decimals = significant - 1 - exponent;
            if (exponent >= -4 && decimals >= 0)
                written = std::to_chars(digits, end, value, std::chars_format::fixed, decimals);
            if (exponent >= -4 && decimals == 0) *written.ptr++ = '.';
        }
        append_justified(width, digits, written);
    }

private:
    void append_justified(int width, const char* digits, const std::to_chars_result& written) {
        const std::string_view text(digits, static_cast<std::size_t>(written.ptr - digits));
        for (int blanks = width - static_cast<int>(text.size()); blanks > 0; --blanks) append(" ");
        append(text);
    }
};

} // namespace qmx
