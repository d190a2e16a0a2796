#include "study/table/line_scan.hpp"

#include <algorithm>
#include <string_view>

#include <fmt/format.h>

#include "study/base/errors.hpp"
#include "study/base/number_text.hpp"
#include "study/base/progress.hpp"
#include "study/table/text_records.hpp"

namespace qmx_study {

namespace {

constexpr std::int64_t records_between_notes = 1 << 16;

// The separator of the head line, a comma if there are several.
char separator_of(std::string_view head) {
    char found = '\0';
    bool quoted = false;
    for (const char c : head) {
        if (c == '"') quoted = !quoted;
        if (quoted || (c != ',' && c != ';' && c != '\t' && c != '|')) continue;
        if (found != '\0' && found != c) return ',';
        found = c;
    }
    if (found != '\0') return found;
    return std::count(head.begin(), head.end(), ' ') == 1 ? ' ' : ',';
}

std::vector<std::string> fields_of(std::string_view line, char separator) {
    std::vector<std::string> fields(1);
    bool quoted = false;
    for (const char c : line) {
        if (c == '"') {
            quoted = !quoted;
        } else if (c == separator && !quoted) {
            fields.emplace_back();
        } else {
            fields.back() += c;
        }
    }
    return fields;
}

// Counts fields of one record. A last field that is empty is told apart, since many programs close
// each row with a separator.
int count_fields(std::string_view record, char separator, bool has_quotes, bool& last_is_empty) {
    last_is_empty = !record.empty() && record.back() == separator;
    if (!has_quotes)
        return 1 + static_cast<int>(std::count(record.begin(), record.end(), separator));
    int fields = 1;
    bool quoted = false;
    for (const char c : record) {
        quoted ^= c == '"';
        fields += c == separator && !quoted;
    }
    return fields;
}

// Takes the records one by one: first the head line, then the others.
class scanner {
public:
    scanner(line_scan& into, const std::string& name) : scan(into), shown_name(name) {}

    void take(const text_records& source) {
        if (scan.head_fields == 0) {
            take_head(source.text);
            offset = source.first_line;
            return;
        }
        ++scan.records;
        if (source.first_line - scan.records != offset) {
            offset = source.first_line - scan.records;
            scan.steps.push_back({scan.records, source.first_line});
        }
        bool last_is_empty = false;
        const int fields =
            count_fields(source.text, scan.separator, source.has_quotes, last_is_empty);
        const int most = scan.head_fields + last_is_empty;
        if (fields >= named_fields && fields <= most) return;
        scan.odd.push_back({scan.records, fields});
    }

private:
    void take_head(std::string_view record) {
        if (record.find('\0') != std::string_view::npos)
            throw usage_error(
                fmt::format("{}: this is no text in UTF-8; save it as CSV in UTF-8", shown_name));
        scan.separator = separator_of(record);
        scan.head = fields_of(record, scan.separator);
        // "name," is a single column: its rows end with a separator.
        if (scan.head.size() == 2 && scan.head.back().empty()) scan.head.pop_back();
        scan.head_fields = static_cast<int>(scan.head.size());
        named_fields = scan.head_fields;
        while (named_fields > 1 && scan.head[static_cast<std::size_t>(named_fields) - 1].empty())
            --named_fields; // separators at the end of the head line need not stand in the rows
    }

    line_scan& scan;
    const std::string& shown_name;
    int named_fields = 0;
    std::int64_t offset = 0;
};

} // namespace

std::int64_t line_scan::line_of(std::int64_t record) const {
    const auto after = std::upper_bound(
        steps.begin(), steps.end(), record,
        [](std::int64_t wanted, const step& candidate) { return wanted < candidate.record; });
    if (after == steps.begin()) return record + 1;
    const step& last = *std::prev(after);
    return last.line + (record - last.record);
}

void refuse_failure(const text_records& records, const std::string& shown_name) {
    if (records.failure().empty()) return;
    throw usage_error(fmt::format("{}, after line {}: reading stopped: {}", shown_name,
                                  records.lines, records.failure()),
                      {{}, shown_name, records.lines, {}});
}

line_scan scan_lines(text_records& records, const std::string& shown_name, progress& shown) {
    records.rewind();
    line_scan scan;
    scanner lines(scan, shown_name);
    while (records.next()) {
        lines.take(records);
        if (scan.records % records_between_notes == 0)
            shown.note(fmt::format("looking at line {}", records.lines));
    }
    refuse_failure(records, shown_name);
    if (scan.head_fields == 0) throw usage_error(fmt::format("{}: the file is empty", shown_name));
    return scan;
}

} // namespace qmx_study
