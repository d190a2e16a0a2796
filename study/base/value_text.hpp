// Numbers and units as texts of messages, notes and tables.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace qmx_study {

// Six significant digits; "-" for a NaN.
std::string number_text(double value);
// A number with the digits that tell values apart which spread so far, about five of the spread.
std::string number_in_spread(double value, double spread);
// A coordinate, to the thousandth (seven decimals for degrees).
std::string coordinate_text(double value, bool in_degrees);
std::string count_text(std::int64_t count); // 1 234 567
// An example from the data: its first line, and not a whole page of it.
std::string example_text(std::string_view text);
// " [unit]", or nothing without a unit.
std::string unit_suffix(std::string_view unit);
// "m²", "(km/h)²", or "".
std::string squared_unit(const std::string& unit);

} // namespace qmx_study
