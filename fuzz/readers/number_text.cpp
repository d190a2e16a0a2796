// Numbers as they stand in fields: any text, against the grammar spelled out and the C library's strtod.
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <string>

#include "study/base/number_text.hpp"
#include "study/base/time_text.hpp"
#include "support/input_bytes.hpp"
#include "support/reader_input.hpp"

using namespace fuzz;
using namespace qmx_study;

namespace {

bool is_digit(char c) {
    return c >= '0' && c <= '9';
}

// Sign, digits with one mark or none among them, and an exponent: nothing else is a number.
bool plain_number(std::string_view text, char decimal, double& value) {
    if (text.size() > 63) return false;
    std::string digits(text);
    std::size_t at = 0, count = 0;
    if (at < digits.size() && (digits[at] == '+' || digits[at] == '-')) ++at;
    for (; at < digits.size() && is_digit(digits[at]); ++at) ++count;
    if (at < digits.size() && digits[at] == decimal) digits[at++] = '.';
    for (; at < digits.size() && is_digit(digits[at]); ++at) ++count;
    if (count == 0) return false;
    if (at < digits.size() && (digits[at] == 'e' || digits[at] == 'E')) {
        ++at;
        if (at < digits.size() && (digits[at] == '+' || digits[at] == '-')) ++at;
        if (at == digits.size()) return false;
        for (; at < digits.size() && is_digit(digits[at]);) ++at;
    }
    if (at != digits.size()) return false;
    errno = 0;
    value = std::strtod(digits.c_str(), nullptr);
    return std::isfinite(value);
}

void require_time(std::string_view text) {
    const auto moment = read_time(text);
    if (!moment) return;
    const std::string written = time_text(*moment);
    const auto again = read_time(written);
    require<"a time is read back as it is written">(again && *again == *moment);
}

bool is_same(const text_value& a, const text_value& b) {
    return a.kind == b.kind && a.extra == b.extra &&
           (a.value == b.value || (std::isnan(a.value) && std::isnan(b.value)));
}

void require_number(std::string_view text, const number_style& style) {
    const text_value read = read_text_value(text, style);
    const std::string_view bare = trimmed(text);
    const bool bears = read.kind == text_kind::number || read.kind == text_kind::unit_number ||
                       read.kind == text_kind::labelled;
    require<"a field has a value where its kind bears one">(bears ? std::isfinite(read.value)
                                                                  : std::isnan(read.value));
    double plain = 0;
    const bool is_plain = plain_number(bare, style.decimal, plain);
    // Tiny numbers are 0 to one of the two and out of range to the other.
    const bool is_tiny = is_plain && std::fabs(plain) < 2.3e-308;
    if (!is_tiny) {
        const bool is_number =
            read.kind == text_kind::number || (read.kind == text_kind::missing && is_plain);
        require<"a number is what the grammar takes for one">(is_number == is_plain);
        if (read.kind == text_kind::number)
            require<"a number has the value of its digits">(
                read.value == plain && std::signbit(read.value) == std::signbit(plain));
    }
    require<"an empty field is missing">(!bare.empty() || read.kind == text_kind::missing);
    require<"a unit or label is a part of the field">(
        read.extra.empty() || (read.extra.data() >= text.data() &&
                               read.extra.data() + read.extra.size() <= text.data() + text.size()));
    const std::string padded = " \t" + std::string(text) + "\r\xC2\xA0 ";
    require<"blanks round a field do not count">(is_same(read, read_text_value(padded, style)));
    if (style.decimal == '.' && style.missing.empty()) {
        double argument = 0;
        const bool is_argument = read_plain_number(text, argument);
        require<"an argument is a number where a field is one">(
            is_argument == (read.kind == text_kind::number) &&
            (!is_argument || argument == read.value));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    input_bytes input(data, size);
    const std::uint8_t way = input.byte();
    const std::string_view text = text_of(input.rest(), input.left());
    number_style style;
    style.decimal = way % 2 == 0 ? '.' : ',';
    if (way % 4 >= 2) name_missing(style, default_missing_texts());
    if (way % 8 >= 4) name_missing(style, {"-9999", "x", std::string(text.substr(0, 3))});
    require_number(text, style);
    require_time(text);
    return 0;
}
