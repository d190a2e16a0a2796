// Numbers as they stand in field data: strictly read, independent of the locale, with a unit behind
// them or a label in front of them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace qmx_study {

enum class text_kind {
    missing,      // empty, or one of the texts that stand for a missing value
    number,       // 150.0
    unit_number,  // 2.7km/h, 22.1 Hz: number, then a unit that is known
    labelled,     // Medium (0.045): a label, then the number in parentheses
    not_a_number, // anything else, infinities and numbers beyond the range of a double included
};

struct text_value {
    text_kind kind;
    double value;           // NaN unless the kind bears a number
    std::string_view extra; // the unit, or the label; a part of the text that was read
};

// How the numbers of a table are written.
struct number_style {
    char decimal = '.'; // '.' or ','; the other one is refused inside a number
    std::vector<std::string> missing = {};
    std::vector<double> missing_numbers =
        {}; // those of them that are numbers: -9999 is -9999.0 too
};

// Takes these texts as the ones that stand for a missing value.
void name_missing(number_style& style, const std::vector<std::string>& texts);
bool is_missing_number(double value, const number_style& style);

// Units that values in field data carry, as they are written: km/h, MN/m, °C, %.
bool is_known_unit(std::string_view text);

// The texts that stand for a missing value unless the user names others; compared without regard to
// case. The empty text is always missing.
std::vector<std::string> default_missing_texts();

// Reads one field. Blanks round it do not count.
text_value read_text_value(std::string_view text, const number_style& style);

// Cuts blanks (space, tab, carriage return, no-break space) off both ends.
std::string_view trimmed(std::string_view text);

// ASCII letters compared without regard to case.
bool same_text(std::string_view left, std::string_view right);
std::string lower_case(std::string_view text);

// A double for a command-line argument such as 3.5; false when the text is not wholly a finite number.
bool read_plain_number(std::string_view text, double& value);

} // namespace qmx_study
