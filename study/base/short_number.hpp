// Decimal numbers of tables by the short way: digits that fit into a double, divided by a power of ten that
// is a double too. One rounding makes the nearest number, the one that std::from_chars gives.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qmx_study {

// Reads a text such as -12.5 from end to end. False for anything else, and where digits or places are too
// many for the short way: value is then left as it is.
inline bool read_short_number(const char* at, const char* end, char mark, double& value) {
    constexpr double powers[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8, 1e9,
                                 1e10, 1e11, 1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18};
    constexpr std::ptrdiff_t most_characters = 19; // so that no 64-bit integer overflows
    constexpr std::uint64_t most_exact = std::uint64_t{1} << 53;
    const bool is_negative = at != end && *at == '-';
    at += is_negative;
    if (end - at > most_characters) return false;
    std::uint64_t digits = 0;
    const auto take_digits = [&] {
        const char* const first = at;
        for (; at != end; ++at) {
            const auto digit = static_cast<unsigned>(static_cast<unsigned char>(*at)) - '0';
            if (digit > 9) break;
            digits = 10 * digits + digit;
        }
        return at - first;
    };
    if (take_digits() == 0) return false;
    std::ptrdiff_t places = 0;
    if (at != end) {
        if (*at != mark) return false;
        ++at;
        places = take_digits();
        if (places == 0 || at != end) return false;
    }
    if (digits > most_exact) return false;
    const double size = static_cast<double>(digits) / powers[places];
    value = is_negative ? -size : size;
    return true;
}

} // namespace qmx_study
