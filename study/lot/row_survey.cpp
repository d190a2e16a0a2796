#include "study/lot/row_survey.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <map>
#include <utility>

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

bool fields_are_moved(const table_file& row, const file_survey& survey) {
    const std::vector<surveyed_column>& columns = survey.columns;
    const number_style& style = survey.style;
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

} // namespace

bool row_survey::is_out_of_place(const table_source& row) const {
    return fields_are_moved(row.part(), files[row.part_index()]);
}

namespace {

// What loggers write for a value that they do not have.
constexpr double usual_codes[] = {-999, -9999, -99999, -999999};
bool is_usual_code(double value) {
    return std::find(std::begin(usual_codes), std::end(usual_codes), value) !=
           std::end(usual_codes);
}

// 1e38, 1.70141e38 and 3.4028235e38 are codes too: no quantity of this earth, and still 32-bit numbers.
// What is larger than these is no code but a mistake, which is refused as such.
bool is_huge_code(double value) {
    constexpr double least = 9.9e37;
    constexpr double largest = 3.40283e38; // a rounded 3.4028235e38
    return std::fabs(value) >= least && std::fabs(value) <= largest;
}

} // namespace

text_value row_survey::read(const table_source& row, int column) const {
    constexpr double none = std::numeric_limits<double>::quiet_NaN();
    const int own = row.own_column(row.part_index(), column);
    if (own < 0) return {text_kind::missing, none, {}};
    const file_survey& file = files[row.part_index()];
    const text_value field = row.part().value(own, file.style);
    const surveyed_column& known = file.columns[static_cast<std::size_t>(own)];
    const bool has_unit = field.kind == text_kind::unit_number;
    if (has_unit && !same_text(field.extra, known.accepted_unit))
        return {text_kind::not_a_number, none, field.extra};
    if (!has_unit && field.kind != text_kind::number) return field;
    const bool is_code = std::find(known.missing_codes.begin(), known.missing_codes.end(),
                                   field.value) != known.missing_codes.end();
    if (is_code || (known.has_usual_numbers && is_huge_code(field.value)))
        return {text_kind::missing, none,
                row.columns[static_cast<std::size_t>(column)].is_text() ? trimmed(row.text(column))
                                                                        : "code"};
    return field;
}

namespace {

// The numbers of one column, as far as the survey goes.
class column_range {
public:
    void add(double value) {
        if (is_usual_code(value) || is_huge_code(value)) return;
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

// What the first rows of one file show.
class file_surveyor {
public:
    explicit file_surveyor(const table_file& from) : file(from), tallies(file.columns.size()) {
        found.columns.resize(file.columns.size());
    }

    // The mark that the numbers are written with.
    void count_marks() {
        const number_style point{'.', {}};
        const number_style comma{',', {}};
        for (std::size_t j = 0; j < file.columns.size(); ++j) {
            const std::string_view text = file.text(static_cast<int>(j));
            const auto counts = [&](char mark, const number_style& style) {
                return text.find(mark) != std::string_view::npos &&
                       content_of(read_text_value(text, style).kind) == column_content::numbers;
            };
            points += counts('.', point);
            commas += counts(',', comma);
        }
    }
    char mark() const { return commas > points ? ',' : '.'; }

    void take_row() {
        const auto& odd = file.lines.odd;
        if (next_odd < odd.size() && odd[next_odd].record == file.record()) {
            ++next_odd;
            return;
        }
        for (std::size_t j = 0; j < tallies.size(); ++j) {
            const text_value field = file.value(static_cast<int>(j), found.style);
            tallies[j].add(field);
            found.columns[j].missing += field.kind == text_kind::missing;
            found.columns[j].filled += field.kind != text_kind::missing;
        }
    }

    file_survey settled() {
        for (std::size_t j = 0; j < tallies.size(); ++j)
            tallies[j].settle(found.columns[j], file.columns[j]);
        return std::move(found);
    }

    file_survey found;

private:
    const table_file& file;
    std::vector<column_tally> tallies;
    std::size_t next_odd = 0;
    std::int64_t points = 0, commas = 0;
};

// Calls visit(surveyor) at each of the first rows of each file.
template <class Visit>
void for_first_rows(table_source& source, std::vector<file_surveyor>& surveyors, Visit visit) {
    source.rewind();
    std::vector<std::int64_t> seen(source.part_count());
    for (bool more = source.next(); more;) {
        const std::size_t part = source.part_index();
        visit(surveyors[part]);
        if (++seen[part] == surveyed_rows && !source.skip_to_next_part()) break;
        more = source.next();
    }
}

bool is_other_unit(const std::string& one, const std::string& other) {
    return !one.empty() && !other.empty() && !same_text(one, other);
}

// Columns of several files taken together.
void join(row_survey& survey, const table_source& source) {
    survey.columns.resize(source.columns.size());
    for (std::size_t j = 0; j < survey.columns.size(); ++j) {
        surveyed_column& joined = survey.columns[j];
        bool is_first = true;
        for (std::size_t k = 0; k < survey.files.size(); ++k) {
            const int own = source.own_column(k, static_cast<int>(j));
            if (own < 0) continue;
            const surveyed_column& each = survey.files[k].columns[static_cast<std::size_t>(own)];
            if (std::exchange(is_first, false)) {
                joined = each;
                continue;
            }
            joined.filled += each.filled;
            joined.missing += each.missing;
            if (joined.content == column_content::unknown) joined.content = each.content;
            if (each.content != column_content::unknown && each.content != joined.content)
                joined.content = column_content::text;
            if (is_other_unit(joined.accepted_unit, each.accepted_unit))
                joined.other_unit = each.accepted_unit;
            if (joined.unit.empty()) joined.unit = each.unit;
            if (joined.accepted_unit.empty()) joined.accepted_unit = each.accepted_unit;
        }
    }
}

} // namespace

row_survey survey_rows(table_source& source, const std::vector<std::string>& missing,
                       char decimal) {
    std::vector<file_surveyor> surveyors;
    for (std::size_t k = 0; k < source.part_count(); ++k) surveyors.emplace_back(source.part(k));
    if (decimal == '\0' && source.is_delimited)
        for_first_rows(source, surveyors, [](file_surveyor& file) { file.count_marks(); });
    for (file_surveyor& file : surveyors) {
        name_missing(file.found.style, missing);
        file.found.style.decimal = decimal != '\0' ? decimal : file.mark();
    }
    for_first_rows(source, surveyors, [](file_surveyor& file) { file.take_row(); });
    row_survey survey;
    for (file_surveyor& file : surveyors) survey.files.push_back(file.settled());
    join(survey, source);
    source.rewind();
    return survey;
}

} // namespace qmx_study
