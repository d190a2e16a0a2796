#include "study/lot/row_survey.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <map>

#include "study/lot/column_names.hpp"

namespace qmx_study {

namespace {

constexpr std::int64_t surveyed_rows = 5000;
constexpr std::int64_t least_filled = 3;

column_content content_of(text_kind kind) {
    switch (kind) {
    case text_kind::number:
    case text_kind::unit_number: return column_content::numbers;
    case text_kind::labelled: return column_content::labelled_numbers;
    case text_kind::not_a_number: return column_content::text;
    case text_kind::missing: break;
    }
    return column_content::unknown;
}

// The mark that the numbers of the first rows are written with.
char learn_decimal_mark(table_source& source) {
    const number_style point{'.', {}};
    const number_style comma{',', {}};
    std::int64_t points = 0;
    std::int64_t commas = 0;
    source.rewind();
    for (std::int64_t row = 0; row < surveyed_rows && source.next(); ++row)
        for (int column = 0; column < static_cast<int>(source.columns.size()); ++column) {
            const std::string_view text = source.text(column);
            const auto counts = [&](char mark, const number_style& style) {
                return text.find(mark) != std::string_view::npos &&
                       content_of(read_text_value(text, style).kind) == column_content::numbers;
            };
            points += counts('.', point);
            commas += counts(',', comma);
        }
    return commas > points ? ',' : '.';
}

// Whether a field can stand in a column. A missing field contradicts only a column that hardly ever
// has one.
bool contradicts(const text_value& field, const surveyed_column& column) {
    if (column.content == column_content::unknown) return false;
    if (field.kind == text_kind::missing) return 50 * column.missing <= column.filled;
    if (content_of(field.kind) != column.content) return true;
    return field.kind == text_kind::unit_number && !column.unit.empty() &&
           field.extra != column.unit;
}

// A quick look that never misses a row in which text stands where numbers belong or the reverse.
bool may_contradict(std::string_view text, column_content content) {
    if (text.empty() || content == column_content::unknown) return false;
    const char first = text.front();
    const bool numeric_start = (first >= '0' && first <= '9') || first == '-' || first == '+' ||
                               first == '.' || first == ',' || first == ' ';
    return numeric_start != (content == column_content::numbers);
}

} // namespace

bool row_survey::is_out_of_place(const table_source& row) const {
    const std::size_t count = columns.size();
    bool suspicious = false;
    for (std::size_t j = 0; j < count && !suspicious; ++j) {
        const std::string_view text = row.text(static_cast<int>(j));
        suspicious = may_contradict(text, columns[j].content) &&
                     contradicts(read_text_value(text, style), columns[j]) &&
                     read_text_value(text, style).kind != text_kind::missing;
    }
    if (!suspicious) return false;

    std::vector<text_value> fields(count);
    for (std::size_t j = 0; j < count; ++j)
        fields[j] = read_text_value(row.text(static_cast<int>(j)), style);
    int as_it_stands = 0;
    for (std::size_t j = 0; j < count; ++j) as_it_stands += contradicts(fields[j], columns[j]);
    if (as_it_stands < 2) return false;

    // Contradictions when the fields from `first` on belong one column further right (a field was
    // lost before them) or left (a field too many stands before them).
    int best = as_it_stands;
    int before = 0;
    for (std::size_t first = 0; first < count; ++first) {
        int lost = before;
        for (std::size_t j = first; j + 1 < count; ++j)
            lost += contradicts(fields[j], columns[j + 1]);
        if (fields[count - 1].kind == text_kind::missing) best = std::min(best, lost);
        int inserted = before;
        for (std::size_t j = first + 1; j < count; ++j)
            inserted += contradicts(fields[j], columns[j - 1]);
        best = std::min(best, inserted);
        before += contradicts(fields[first], columns[first]);
    }
    return best <= as_it_stands - 2;
}

namespace {

// 1e38, 3.4028235e38 and the like: no quantity of this earth.
constexpr double largest_value = 1e37;

} // namespace

text_value row_survey::read(const table_source& row, int column) const {
    text_value field = row.value(column, style);
    const surveyed_column& known = columns[static_cast<std::size_t>(column)];
    const bool has_unit = field.kind == text_kind::unit_number;
    if (has_unit && !same_text(field.extra, known.accepted_unit))
        return {text_kind::not_a_number, std::numeric_limits<double>::quiet_NaN(), field.extra};
    if (!has_unit && field.kind != text_kind::number) return field;
    const bool is_beyond = known.has_usual_numbers && std::fabs(field.value) > largest_value;
    const bool is_code = std::find(known.missing_codes.begin(), known.missing_codes.end(),
                                   field.value) != known.missing_codes.end();
    if (is_beyond || is_code)
        return {text_kind::missing, std::numeric_limits<double>::quiet_NaN(),
                row.columns[static_cast<std::size_t>(column)].is_text() ? trimmed(row.text(column))
                                                                        : "code"};
    return field;
}

namespace {

// What loggers write for a value that they do not have.
constexpr double usual_codes[] = {-999, -9999, -99999, -999999};
bool is_usual_code(double value) {
    return std::find(std::begin(usual_codes), std::end(usual_codes), value) !=
           std::end(usual_codes);
}

// The numbers of one column, as far as the survey goes.
class column_range {
public:
    void add(double value) {
        if (is_usual_code(value) || std::fabs(value) > largest_value) return;
        lowest = std::min(lowest, value);
        highest = std::max(highest, value);
    }
    // Codes that the other values cannot reach: below zero where none of them is, or further off than
    // their range is wide.
    std::vector<double> unreachable() const {
        std::vector<double> found;
        const double width = highest - lowest;
        for (const double code : usual_codes) {
            const bool is_apart = lowest >= 0 || code < lowest - width || code > highest + width;
            if (lowest <= highest && is_apart) found.push_back(code);
        }
        return found;
    }
    bool has_numbers() const { return lowest <= highest; }

private:
    double lowest = std::numeric_limits<double>::infinity(), highest = -lowest;
};

// What the survey counts of one column.
struct column_tally {
    std::array<std::int64_t, 4> contents{};
    std::map<std::string, std::int64_t, std::less<>> units;
    column_range range;

    void add(const text_value& field) {
        ++contents[static_cast<std::size_t>(content_of(field.kind))];
        if (field.kind == text_kind::number || field.kind == text_kind::unit_number)
            range.add(field.value);
        if (field.kind != text_kind::unit_number) return;
        const auto known = units.find(field.extra);
        if (known != units.end()) {
            ++known->second;
        } else if (units.size() < 100) {
            units.emplace(field.extra, 1);
        }
    }

    void settle(surveyed_column& column, const source_column& heading) const {
        for (std::size_t content = 1; content < 4 && column.filled >= least_filled; ++content)
            if (10 * contents[content] >= 9 * column.filled)
                column.content = static_cast<column_content>(content);
        const auto most =
            std::max_element(units.begin(), units.end(),
                             [](const auto& a, const auto& b) { return a.second < b.second; });
        if (most != units.end() && 2 * most->second > column.filled) column.unit = most->first;
        column.accepted_unit = column.unit.empty() ? heading_unit(heading) : column.unit;
        column.missing_codes = range.unreachable();
        column.has_usual_numbers = range.has_numbers();
    }
};

} // namespace

row_survey survey_rows(table_source& source, const std::vector<std::string>& missing,
                       char decimal) {
    row_survey survey;
    name_missing(survey.style, missing);
    if (decimal != '\0') {
        survey.style.decimal = decimal;
    } else {
        survey.style.decimal = source.is_delimited ? learn_decimal_mark(source) : '.';
    }
    const std::size_t count = source.columns.size();
    survey.columns.resize(count);
    std::vector<column_tally> tallies(count);
    source.rewind();
    auto odd = source.lines.odd.begin();
    for (; survey.rows < surveyed_rows && source.next(); ++survey.rows) {
        if (odd != source.lines.odd.end() && odd->record == source.record()) {
            ++odd;
            continue;
        }
        for (std::size_t j = 0; j < count; ++j) {
            const text_value field = source.value(static_cast<int>(j), survey.style);
            tallies[j].add(field);
            survey.columns[j].missing += field.kind == text_kind::missing;
            survey.columns[j].filled += field.kind != text_kind::missing;
        }
    }
    for (std::size_t j = 0; j < count; ++j) tallies[j].settle(survey.columns[j], source.columns[j]);
    source.rewind();
    return survey;
}

} // namespace qmx_study
