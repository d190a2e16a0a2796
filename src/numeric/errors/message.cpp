#include "numeric/errors/message.hpp"

#include <cmath>
#include <cstdio>

namespace qmx::numeric {

namespace {

constexpr std::string_view keyword_letters = "ACDIKLRSZ";
constexpr std::size_t keyword_length = 5; // %(I1)

constexpr char upper_case(char letter) {
    return letter >= 'a' && letter <= 'z' ? static_cast<char>(letter - 'a' + 'A') : letter;
}

template <class Real> void append_real(message_text& text, Real value) {
    if (std::isnan(value))
        text.append("NaN");
    else
        text.append_number(value);
}

// What is wrong with the keyword that begins at a "%(", or no text if it was replaced.
std::string_view replace_keyword(std::string_view keyword, const message_values& values,
                                 message_text& message) {
    constexpr std::string_view malformed = "  Letter of ACDIKLRSZ, digit and ) expected";
    if (keyword.size() < keyword_length || keyword[4] != ')') return malformed;
    const char letter = upper_case(keyword[2]);
    if (keyword_letters.find(letter) == std::string_view::npos) return malformed;
    if (keyword[3] < '1' || keyword[3] > '9') return "  Digit from 1 to 9 expected";
    if (values.append_to(message, letter, keyword[3] - '0')) return {};
    return "  No value is stored";
}

// The first line of text that fits into width, without the blanks it is broken at, and how many
// characters it takes up together with those. A word longer than the width is cut.
struct line_of_text {
    std::string_view line;
    std::size_t taken;
};

line_of_text first_line(std::string_view text, std::size_t width) {
    const std::size_t line_break = std::min(text.find('\n'), text.size());
    if (line_break <= width)
        return {without_trailing_blanks(text.substr(0, line_break)), line_break + 1};
    const std::size_t blank = text.rfind(' ', width);
    const std::string_view line =
        without_trailing_blanks(text.substr(0, blank == std::string_view::npos ? width : blank));
    if (line.empty()) return {text.substr(0, width), width};
    const std::size_t next = std::min(text.find_first_not_of(' ', line.size()), text.size());
    return {line, next == line_break ? next + 1 : next};
}

} // namespace

bool message_values::take(index_set& stored, i32 index) {
    if (index < 1 || index > most) return false;
    stored = static_cast<index_set>(stored | 1u << (index - 1));
    return true;
}

bool message_values::has(index_set stored, i32 index) {
    return (stored >> (index - 1) & 1u) != 0;
}

void message_values::store(i32 index, i32 value) {
    if (take(stored_integers_, index)) integers_[index - 1] = value;
}

void message_values::store(i32 index, f32 value) {
    if (take(stored_singles_, index)) singles_[index - 1] = value;
}

void message_values::store(i32 index, f64 value) {
    if (take(stored_doubles_, index)) doubles_[index - 1] = value;
}

void message_values::store(i32 index, std::string_view value) {
    if (take(stored_texts_, index)) texts_[index - 1].assign(value);
}

bool message_values::append_to(message_text& text, char letter, i32 index) const {
    switch (letter) {
    case 'I':
        if (!has(stored_integers_, index)) return false;
        text.append_number(integers_[index - 1]);
        return true;
    case 'R':
        if (!has(stored_singles_, index)) return false;
        append_real(text, singles_[index - 1]);
        return true;
    case 'D':
        if (!has(stored_doubles_, index)) return false;
        append_real(text, doubles_[index - 1]);
        return true;
    case 'L':
        if (!has(stored_texts_, index)) return false;
        text.append(texts_[index - 1].view());
        return true;
    default: return false; // letters for types that no routine here stores
    }
}

void build_message(std::string_view form, const message_values& values, message_text& message) {
    message.length = 0;
    std::string_view complaint, bad_keyword;
    while (!form.empty()) {
        const std::size_t plain = std::min(form.find('%'), form.size());
        message.append(form.substr(0, plain));
        form.remove_prefix(plain);
        if (form.starts_with("%/")) {
            message.append("\n");
            form.remove_prefix(2);
        } else if (form.starts_with("%(")) {
            const std::string_view keyword = form.substr(0, keyword_length);
            const std::string_view fault = replace_keyword(keyword, values, message);
            if (fault.empty()) {
                form.remove_prefix(keyword_length);
                continue;
            }
            if (complaint.empty()) complaint = fault, bad_keyword = keyword;
            message.append("%(");
            form.remove_prefix(2);
        } else if (!form.empty()) {
            message.append("%");
            form.remove_prefix(1);
        }
    }
    if (complaint.empty()) return;
    message.append(complaint);
    message.append(" in reference to keyword ");
    message.append(bad_keyword);
}

void print_error(std::string_view label, i32 code, std::string_view routine,
                 std::string_view message, i32 width) {
    constexpr std::string_view indent = "    ";
    // Room for the heading and, at worst, an indented line for each character of the message.
    bounded_text<128 + sizeof(message_text::characters) * (indent.size() + 2)> page;
    page.append(without_trailing_blanks(label));
    page.append(" ");
    page.append_number(code);
    page.append(" from ");
    page.append(without_trailing_blanks(routine));
    page.append("\n");
    const std::size_t line_width = width > static_cast<i32>(indent.size())
                                       ? static_cast<std::size_t>(width) - indent.size()
                                       : 1;
    message = without_trailing_blanks(message);
    while (!message.empty()) {
        const auto [line, taken] = first_line(message, line_width);
        page.append(indent);
        page.append(line);
        page.append("\n");
        message.remove_prefix(std::min(taken, message.size()));
    }
    std::fwrite(page.characters, 1, page.length, stderr);
    std::fflush(stderr);
}

} // namespace qmx::numeric
