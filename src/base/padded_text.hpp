// Text of fixed length, padded with blanks, without terminator; longer text is cut. As in the
// host's event record.
#pragma once

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace qmx {

constexpr std::string_view without_trailing_blanks(std::string_view text) {
    const auto last = text.find_last_not_of(' ');
    return last == std::string_view::npos ? std::string_view() : text.substr(0, last + 1);
}

template <std::size_t Length> struct padded_text {
    char characters[Length];

    constexpr padded_text() : padded_text(std::string_view()) {}
    explicit constexpr padded_text(std::string_view text) : characters() { assign(text); }

    constexpr void assign(std::string_view text) {
        const std::size_t kept = std::min(text.size(), Length);
        for (std::size_t i = 0; i < kept; ++i) characters[i] = text[i];
        for (std::size_t i = kept; i < Length; ++i) characters[i] = ' ';
    }
    constexpr void append(std::string_view text) {
        for (std::size_t i = trimmed().size(), j = 0; i < Length && j < text.size(); ++i, ++j)
            characters[i] = text[j];
    }
    constexpr std::string_view trimmed() const {
        return without_trailing_blanks({characters, Length});
    }
};

// A routine's own name.
using routine_text = padded_text<40>;

} // namespace qmx
