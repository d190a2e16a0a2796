// Aligned text.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace qmx_ic_app {

// Columns of text, each as wide as its widest cell.
class text_table {
public:
    // One letter a column: 'l' flush left, 'r' flush right.
    explicit text_table(std::string alignment, std::size_t indent = 2)
        : alignments(std::move(alignment)), margin(indent) {}
    void add(std::vector<std::string> cells);
    void add_rule(); // a line under what came before
    bool empty() const { return rows.empty(); }
    std::string text() const;

private:
    std::string alignments;
    std::size_t margin;
    std::vector<std::vector<std::string>> rows; // an empty one is a rule
};

// Characters that a UTF-8 text takes on the screen.
std::size_t width_of(std::string_view text);

// Six significant digits; "-" for a NaN.
std::string number_text(double value);
// A coordinate, to the thousandth (seven decimals for degrees).
std::string coordinate_text(double value, bool in_degrees);
std::string count_text(std::int64_t count); // 1 234 567
// A bar of blocks, `full` characters for 1.
std::string bar(double share, int full);
// Breaks a text between words so that no line, its indent included, is longer than 96 characters. The
// first line comes without its indent.
std::string wrapped(std::string_view text, std::size_t indent);
// " [unit]", or nothing without a unit.
std::string unit_suffix(std::string_view unit);

// "m²", "(km/h)²", or "".
std::string squared_unit(const std::string& unit);

} // namespace qmx_ic_app
