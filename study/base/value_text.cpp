#include "study/base/value_text.hpp"

#include <cmath>

#include <fmt/format.h>

namespace qmx_study {

std::string number_text(double value) {
    return std::isnan(value) ? "-" : fmt::format("{:.6g}", value);
}

std::string number_in_spread(double value, double spread) {
    if (!std::isfinite(value) || !(spread > 1e-9) || std::fabs(value) >= 1e15)
        return number_text(value);
    int decimals = 0;
    for (double step = 1; step > spread / 1e4; step /= 10) ++decimals;
    std::string text = fmt::format("{:.{}f}", value, decimals);
    if (decimals == 0) return text;
    text.erase(text.find_last_not_of('0') + 1);
    if (text.back() == '.') text.pop_back();
    return text == "-0" ? "0" : text;
}

std::string coordinate_text(double value, bool in_degrees) {
    if (!(std::fabs(value) < 1e15)) return number_text(value);
    return in_degrees ? fmt::format("{:.7f}", value) : fmt::format("{:.3f}", value);
}

std::string count_text(std::int64_t count) {
    std::string digits = fmt::format("{}", count);
    for (std::size_t at = digits.size(); at > 3 && digits[at - 4] != '-'; at -= 3)
        digits.insert(at - 3, 1, ' ');
    return digits;
}

std::string example_text(std::string_view text) {
    constexpr std::size_t longest = 60;
    std::string example(text.substr(0, text.find_first_of("\r\n")));
    if (example.size() > longest) {
        std::size_t end = longest;
        while (end > 0 && (static_cast<unsigned char>(example[end]) & 0xC0) == 0x80) --end;
        example.resize(end);
    }
    return example.size() < text.size() ? example + "…" : example;
}

std::string unit_suffix(std::string_view unit) {
    return unit.empty() ? std::string() : fmt::format(" [{}]", unit);
}

std::string squared_unit(const std::string& unit) {
    if (unit.empty()) return {};
    return unit.find_first_of("/ ") == std::string::npos ? unit + "²" : "(" + unit + ")²";
}

} // namespace qmx_study
