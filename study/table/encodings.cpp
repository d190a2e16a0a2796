#include "study/table/encodings.hpp"

#include <cstddef>

namespace qmx_study {

namespace {

// 0x80 to 0x9F of Windows-1252; places that it leaves empty stay control characters.
constexpr char32_t upper_controls[] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

// Bytes of the character that starts with this byte; 0 where none does.
std::size_t length_at(unsigned char first) {
    if (first < 0x80) return 1;
    if (first >= 0xC2 && first < 0xE0) return 2;
    if (first >= 0xE0 && first < 0xF0) return 3;
    return first >= 0xF0 && first < 0xF5 ? 4 : 0;
}

} // namespace

bool is_utf8(std::string_view text) {
    for (std::size_t i = 0; i < text.size();) {
        const std::size_t length = length_at(static_cast<unsigned char>(text[i]));
        if (length == 0 || i + length > text.size()) return false;
        for (std::size_t k = 1; k < length; ++k)
            if ((static_cast<unsigned char>(text[i + k]) & 0xC0) != 0x80) return false;
        if (length == 3 && text[i] == '\xE0' && text[i + 1] < '\xA0') return false;  // too long
        if (length == 3 && text[i] == '\xED' && text[i + 1] >= '\xA0') return false; // surrogate
        if (length == 4 && text[i] == '\xF0' && text[i + 1] < '\x90') return false;
        if (length == 4 && text[i] == '\xF4' && text[i + 1] >= '\x90') return false;
        i += length;
    }
    return true;
}

void append_utf8(std::string& text, char32_t c) {
    const auto add = [&](char32_t byte) { text += static_cast<char>(byte); };
    if (c < 0x80) {
        add(c);
    } else if (c < 0x800) {
        add(0xC0 | c >> 6);
        add(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        add(0xE0 | c >> 12);
        add(0x80 | (c >> 6 & 0x3F));
        add(0x80 | (c & 0x3F));
    } else {
        add(0xF0 | c >> 18);
        add(0x80 | (c >> 12 & 0x3F));
        add(0x80 | (c >> 6 & 0x3F));
        add(0x80 | (c & 0x3F));
    }
}

void decode_latin1(std::string_view bytes, std::string& text) {
    text.clear();
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        append_utf8(text, byte >= 0x80 && byte < 0xA0 ? upper_controls[byte - 0x80] : byte);
    }
}

} // namespace qmx_study
