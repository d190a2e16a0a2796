#include "study/base/value_text.hpp"

#include <cmath>

#include <fmt/format.h>

namespace qmx_study {

std::string number_text(double value) {
    return std::isnan(value) ? "-" : fmt::format("{:.6g}", value);
}

std::string coordinate_text(double value, bool in_degrees) {
    if (std::isnan(value)) return "-";
    return in_degrees ? fmt::format("{:.7f}", value) : fmt::format("{:.3f}", value);
}

std::string count_text(std::int64_t count) {
    std::string digits = fmt::format("{}", count);
    for (std::size_t at = digits.size(); at > 3 && digits[at - 4] != '-'; at -= 3)
        digits.insert(at - 3, 1, ' ');
    return digits;
}

std::string unit_suffix(std::string_view unit) {
    return unit.empty() ? std::string() : fmt::format(" [{}]", unit);
}

std::string squared_unit(const std::string& unit) {
    if (unit.empty()) return {};
    return unit.find_first_of("/ ") == std::string::npos ? unit + "²" : "(" + unit + ")²";
}

} // namespace qmx_study
