#include "study/base/number_text.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <limits>

namespace qmx_study {

namespace {

constexpr double not_a_number = std::numeric_limits<double>::quiet_NaN();
constexpr std::size_t longest_number = 64;

bool is_digit(char c) {
    return c >= '0' && c <= '9';
}
char lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

// Reads a number at the start of the text. Returns how many characters it takes, 0 for none.
std::size_t number_at_start(std::string_view text, char decimal, double& value) {
    std::array<char, longest_number> digits;
    std::size_t taken = 0;
    std::size_t length = 0;
    bool any_digit = false;
    if (!text.empty() && text[0] == '+') taken = 1; // from_chars takes no plus sign
    for (; taken < text.size() && length < digits.size(); ++taken) {
        char c = text[taken];
        const char previous = length == 0 ? '\0' : digits[length - 1];
        if (is_digit(c)) {
            any_digit = true;
        } else if (c == decimal) {
            c = '.';
        } else if ((c == 'e' || c == 'E') && any_digit) {
            // An exponent only where digits follow: "2 ea" and "5e" carry a unit.
            const std::size_t sign =
                taken + 1 < text.size() && (text[taken + 1] == '-' || text[taken + 1] == '+');
            if (taken + 1 + sign >= text.size() || !is_digit(text[taken + 1 + sign])) break;
        } else if (!((c == '-' && taken == 0) || ((c == '-' || c == '+') && previous == 'e') ||
                     ((c == '-' || c == '+') && previous == 'E'))) {
            break;
        }
        digits[length++] = c;
    }
    if (!any_digit || length == digits.size()) return 0;
    const char* const end = digits.data() + length;
    const auto [stop, error] = std::from_chars(digits.data(), end, value);
    return error == std::errc{} && stop == end && std::isfinite(value) ? taken : 0;
}

// Sorted by their lower-case letters. "l" and "o" are none: next to digits they are typing errors.
constexpr std::string_view units[] = {
    "%",      "1/min",  "a",      "bar",   "bu/ac", "cm",    "daN",   "dB",      "deg",   "degC",
    "degF",   "ft",     "ft/min", "ft/s",  "g",     "g/cm3", "g/cm³", "GPa",     "h",     "hPa",
    "Hz",     "in",     "in.",    "J",     "K",     "kg",    "kg/ha", "kg/m2",   "kg/m3", "kg/m²",
    "kg/m³",  "kg/s",   "kHz",    "kJ",    "km",    "km/h",  "kmh",   "kN",      "kN/m",  "kN/m2",
    "kN/m3",  "kN/m²",  "kN/m³",  "knots", "kPa",   "kph",   "ksi",   "kW",      "l/h",   "lb",
    "lb/ft3", "lb/ft³", "lb/s",   "lbf",   "lbs",   "m",     "m/min", "m/s",     "m/s2",  "m/s²",
    "m2",     "m3",     "m²",     "m³",    "mi/h",  "min",   "mm",    "mm/blow", "mm/s",  "MN/m",
    "MN/m2",  "MN/m3",  "MN/m²",  "MN/m³", "MPa",   "mph",   "ms",    "N",       "N/mm",  "N/mm2",
    "N/mm²",  "Nm",     "pcf",    "psf",   "psi",   "rad",   "rpm",   "s",       "sec",   "t",
    "t/ha",   "t/m3",   "t/m³",   "V",     "vpm",   "yd",    "°",     "°C",      "°F"};

// Where the units with a first byte begin and end, since this is asked for each value of a column.
struct unit_index {
    std::array<std::uint8_t, 257> first{};

    constexpr unit_index() {
        std::size_t at = 0;
        for (std::size_t byte = 0; byte < 256; ++byte) {
            first[byte] = static_cast<std::uint8_t>(at);
            while (at < std::size(units) && first_byte(units[at]) == byte) ++at;
        }
        first[256] = static_cast<std::uint8_t>(at);
    }
    static constexpr std::size_t first_byte(std::string_view text) {
        const char c = text.front();
        return static_cast<unsigned char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
    }
};
constexpr unit_index index_of_units;
static_assert(index_of_units.first[256] == std::size(units)); // sorted, so that each is found

} // namespace

bool is_known_unit(std::string_view text) {
    if (text.empty()) return false;
    const std::size_t byte = unit_index::first_byte(text);
    return std::any_of(units + index_of_units.first[byte], units + index_of_units.first[byte + 1],
                       [&](std::string_view unit) { return same_text(unit, text); });
}

std::vector<std::string> default_missing_texts() {
    return {"?", "NA", "N/A", "NaN", "null", "none", "-", "--", "#N/A"};
}

std::string_view trimmed(std::string_view text) {
    const auto blank_front = [&]() -> std::size_t {
        if (text.starts_with("\xC2\xA0")) return 2;
        return !text.empty() && (text[0] == ' ' || text[0] == '\t' || text[0] == '\r');
    };
    const auto blank_back = [&]() -> std::size_t {
        if (text.ends_with("\xC2\xA0")) return 2;
        return !text.empty() && (text.back() == ' ' || text.back() == '\t' || text.back() == '\r');
    };
    while (const std::size_t count = blank_front()) text.remove_prefix(count);
    while (const std::size_t count = blank_back()) text.remove_suffix(count);
    return text;
}

bool same_text(std::string_view left, std::string_view right) {
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](char a, char b) { return lower(a) == lower(b); });
}

std::string lower_case(std::string_view text) {
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(), lower);
    return result;
}

bool is_missing_number(double value, const number_style& style) {
    return std::find(style.missing_numbers.begin(), style.missing_numbers.end(), value) !=
           style.missing_numbers.end();
}

void name_missing(number_style& style, const std::vector<std::string>& texts) {
    style.missing = texts;
    style.missing_numbers.clear();
    for (const std::string& text : texts)
        if (double number = 0; read_plain_number(text, number))
            style.missing_numbers.push_back(number);
}

text_value read_text_value(std::string_view text, const number_style& style) {
    text = trimmed(text);
    if (text.empty()) return {text_kind::missing, not_a_number, {}};
    double value = not_a_number;
    const std::size_t taken = number_at_start(text, style.decimal, value);
    if (taken == text.size()) {
        if (is_missing_number(value, style)) return {text_kind::missing, not_a_number, {}};
        return {text_kind::number, value, {}};
    }
    for (const std::string& missing : style.missing)
        if (same_text(text, missing)) return {text_kind::missing, not_a_number, {}};
    if (taken > 0) {
        const std::string_view unit = trimmed(text.substr(taken));
        if (is_known_unit(unit)) return {text_kind::unit_number, value, unit};
    } else if (text.back() == ')') {
        const std::size_t open = text.rfind('(');
        if (open != std::string_view::npos && open > 0) {
            const std::string_view inner = trimmed(text.substr(open + 1, text.size() - open - 2));
            const std::size_t inside = number_at_start(inner, style.decimal, value);
            if (inside > 0 && inside == inner.size())
                return {text_kind::labelled, value, trimmed(text.substr(0, open))};
        }
    }
    return {text_kind::not_a_number, not_a_number, {}};
}

bool read_plain_number(std::string_view text, double& value) {
    text = trimmed(text);
    const std::size_t taken = number_at_start(text, '.', value);
    return taken > 0 && taken == text.size();
}

} // namespace qmx_study
