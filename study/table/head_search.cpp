#include "study/table/head_search.hpp"

#include <algorithm>
#include <map>
#include <optional>
#include <string_view>

#include <fmt/format.h>

#include "study/base/number_text.hpp"
#include "study/table/text_records.hpp"

namespace qmx_study {

namespace {

using fields = std::vector<std::string>;

constexpr char separators[] = {',', ';', '\t', '|'};

// The separator of the head line, a comma if there are several.
char separator_of(std::string_view head) {
    char found = '\0';
    bool is_quoted = false;
    bool at_start = true;
    for (const char c : head) {
        if (c == '"' && (is_quoted || at_start)) is_quoted = !is_quoted;
        const bool separates = !is_quoted && (c == ',' || c == ';' || c == '\t' || c == '|');
        at_start = separates;
        if (!separates) continue;
        if (found != '\0' && found != c) return ',';
        found = c;
    }
    if (found != '\0') return found;
    return std::count(head.begin(), head.end(), ' ') == 1 ? ' ' : ',';
}

// "sep=;" on the first line, as spreadsheet programs write and read it. '\0' for anything else.
char separator_line(std::string_view text) {
    const bool is_one = text.size() == 5 && same_text(text.substr(0, 4), "sep=");
    return is_one ? text[4] : '\0';
}

fields split(const opening_record& record, char separator) {
    std::string scratch;
    std::vector<std::string_view> views;
    split_fields(record.text, separator, record.has_quotes, scratch, views);
    return {views.begin(), views.end()};
}

bool is_number(std::string_view field) {
    return read_text_value(field, {'.'}).kind == text_kind::number ||
           read_text_value(field, {','}).kind == text_kind::number;
}

bool has_numbers(const fields& record) {
    return std::any_of(record.begin(), record.end(), is_number);
}

// Records that have as many fields as this one, give or take an empty last one.
std::size_t alike(const std::vector<opening_record>& opening, std::size_t start, char separator,
                  std::size_t count) {
    std::size_t found = 0;
    for (std::size_t i = start; i < opening.size(); ++i) {
        const fields record = split(opening[i], separator);
        found += record.size() == count ||
                 (record.size() == count + 1 && trimmed(record.back()).empty());
    }
    return found;
}

// A title and the like stand before the head: the first record of the most frequent width that has
// no number in it.
std::optional<std::size_t> head_behind_preamble(const std::vector<opening_record>& opening,
                                                std::size_t start) {
    std::size_t most = 0, width = 0;
    char separator = ',';
    for (const char candidate : separators) {
        std::map<std::size_t, std::size_t> widths;
        for (std::size_t i = start; i < opening.size(); ++i)
            ++widths[split(opening[i], candidate).size()];
        for (const auto& [count, records] : widths)
            if (count > 1 && records > most) {
                most = records;
                width = count;
                separator = candidate;
            }
    }
    if (most < 3 || 2 * most < opening.size() - start) return {};
    for (std::size_t i = start + 1; i < opening.size(); ++i) {
        const fields record = split(opening[i], separator);
        if (record.size() == width) return has_numbers(record) ? std::nullopt : std::optional(i);
    }
    return {};
}

// "m", "[km/h]", "(-)".
bool is_unit_field(std::string_view field) {
    field = trimmed(field);
    if (field.size() > 2 && ((field.front() == '[' && field.back() == ']') ||
                             (field.front() == '(' && field.back() == ')')))
        return true;
    return field.empty() || field == "-" || is_known_unit(field);
}

std::string unit_in(std::string_view field) {
    field = trimmed(field);
    if (field.size() > 2 && (field.front() == '[' || field.front() == '('))
        field = trimmed(field.substr(1, field.size() - 2));
    return field == "-" ? std::string() : std::string(field);
}

bool is_units_line(const fields& record) {
    return std::all_of(record.begin(), record.end(), is_unit_field) &&
           std::any_of(record.begin(), record.end(),
                       [](std::string_view field) { return !unit_in(field).empty(); });
}

// Words in each of the columns that hold numbers below: more of a heading than a row.
bool is_second_heading(const fields& record, const std::vector<fields>& below) {
    if (below.size() < 3 || has_numbers(record)) return false;
    std::size_t columns = 0;
    for (std::size_t j = 0; j < record.size(); ++j) {
        const bool numeric = std::all_of(below.begin(), below.end(), [&](const fields& row) {
            return j < row.size() && is_number(row[j]);
        });
        if (!numeric) continue;
        ++columns;
        const number_style usual{'.', default_missing_texts()};
        if (read_text_value(record[j], usual).kind != text_kind::not_a_number) return false;
    }
    return columns >= 2;
}

// What stands right behind the head and is no row either.
void take_lines_behind(const std::vector<opening_record>& opening, std::size_t head,
                       found_head& found) {
    if (head + 1 >= opening.size()) return;
    const opening_record& next = opening[head + 1];
    fields record = split(next, found.separator);
    if (record.size() != found.names.size()) return;
    if (is_units_line(record)) {
        for (const std::string& field : record) found.units.push_back(unit_in(field));
        found.notes.push_back(
            fmt::format("line {} is taken as the units of the columns", next.line));
        found.last_line = next.line;
        return;
    }
    std::vector<fields> below;
    for (std::size_t i = head + 2; i < opening.size() && below.size() < 5; ++i)
        below.push_back(split(opening[i], found.separator));
    if (!is_second_heading(record, below)) return;
    for (std::size_t j = 0; j < record.size(); ++j) {
        const std::string second(trimmed(record[j]));
        if (second.empty() || same_text(second, trimmed(found.names[j]))) continue;
        found.names[j] = trimmed(found.names[j]).empty() ? second : found.names[j] + " " + second;
    }
    found.notes.push_back(
        fmt::format("lines {} and {} are taken as headings, the second behind the "
                    "first",
                    found.line, next.line));
    found.last_line = next.line;
}

// Comment lines at the top. The last of them is the head where numbers follow at once.
std::size_t behind_comments(const std::vector<opening_record>& opening, std::size_t start,
                            found_head& found, bool& is_head_in_comment) {
    std::size_t at = start;
    while (at < opening.size() && opening[at].text.starts_with('#')) ++at;
    is_head_in_comment = false;
    if (at == start || at == opening.size()) return start;
    opening_record last = opening[at - 1];
    last.text.erase(0, last.text.find_first_not_of("# \t"));
    const fields names = split(last, separator_of(last.text));
    const fields next = split(opening[at], separator_of(opening[at].text));
    if (has_numbers(next) && !has_numbers(names)) {
        is_head_in_comment = names.size() == next.size();
        if (is_head_in_comment || at == start + 1) --at;
    }
    const std::int64_t line = opening[at].line;
    if (at - start == 1)
        found.notes.push_back(fmt::format(
            "the 1 line before line {} that starts with # is taken as a comment", line));
    else if (at > start)
        found.notes.push_back(
            fmt::format("the {} lines before line {} that start with # are taken as comments",
                        at - start, line));
    return at;
}

} // namespace

found_head find_head(const std::vector<opening_record>& opening, const text_layout& layout) {
    found_head found;
    std::size_t head = 0;
    const char fixed = separator_line(opening.front().text);
    if (fixed != '\0' && opening.size() > 1) ++head;
    bool is_in_comment = false;
    if (layout.header_line > 0) {
        while (head + 1 < opening.size() && opening[head].line < layout.header_line) ++head;
    } else {
        if (layout.comment.empty()) head = behind_comments(opening, head, found, is_in_comment);
        const char own = separator_of(opening[head].text);
        const std::size_t width = split(opening[head], own).size();
        const std::size_t below = opening.size() - head - 1;
        const bool is_usual = 2 * alike(opening, head + 1, own, width) >= below;
        if (fixed == '\0' && !is_in_comment && below >= 3 && !is_usual)
            if (const auto behind = head_behind_preamble(opening, head)) {
                found.notes.push_back(fmt::format(
                    "line {} is taken as the head line; what stands before it is no table",
                    opening[*behind].line));
                head = *behind;
            }
    }
    opening_record line = opening[head];
    if (is_in_comment) line.text.erase(0, line.text.find_first_not_of("# \t"));
    found.separator = fixed != '\0' ? fixed : separator_of(line.text);
    found.names = split(line, found.separator);
    found.line = line.line;
    found.last_line = found.line;
    take_lines_behind(opening, head, found);
    return found;
}

} // namespace qmx_study
