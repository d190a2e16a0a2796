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

// The first records, before it is known what stands between their fields.
std::vector<opening_record> opening_of(text_records& records, const text_layout& layout) {
    std::vector<opening_record> opening;
    records.separator = '\0';
    records.columns = 0;
    records.rewind();
    constexpr std::size_t enough_text = std::size_t{1} << 26;
    std::size_t kept = 0;
    while (opening.size() < opening_records && kept < enough_text && records.next()) {
        if (records.first_line < layout.header_line) continue;
        opening.push_back({std::string(records.text), records.first_line, records.has_quotes});
        kept += records.text.size();
    }
    return opening;
}

void take_head(line_scan& scan, const found_head& found) {
    scan.separator = found.separator;
    scan.head = found.names;
    scan.units = found.units;
    scan.head_line = found.line;
    scan.notes = found.notes;
    // "name," is a single column: its rows end with a separator.
    if (scan.head.size() == 2 && scan.head.back().empty()) scan.head.pop_back();
    scan.head_fields = static_cast<int>(scan.head.size());
}

// Counts the records behind the head, and their fields.
class scanner {
public:
    scanner(line_scan& into, const text_records& from) : scan(into), source(from) {
        named_fields = scan.head_fields;
        while (named_fields > 1 && scan.head[static_cast<std::size_t>(named_fields) - 1].empty())
            --named_fields; // separators at the end of the head line need not stand in the rows
    }

    void take() {
        ++scan.records;
        if (source.first_line - scan.records != offset) {
            offset = source.first_line - scan.records;
            scan.steps.push_back({scan.records, source.first_line});
        }
        const bool last_is_empty = source.text.ends_with(scan.separator);
        const int fields = count_fields();
        const int most = scan.head_fields + last_is_empty;
        if (fields >= named_fields && fields <= most) return;
        scan.odd.push_back({scan.records, fields});
    }

private:
    int count_fields() {
        if (!source.has_quotes)
            return 1 + static_cast<int>(
                           std::count(source.text.begin(), source.text.end(), scan.separator));
        split_fields(source.text, scan.separator, true, scratch, fields_now);
        return static_cast<int>(fields_now.size());
    }

    line_scan& scan;
    const text_records& source;
    int named_fields = 0;
    std::string scratch;
    std::vector<std::string_view> fields_now;
    std::int64_t offset = 1; // of a text without anything odd
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
    if (records.fault_line() > 0)
        throw usage_error(
            fmt::format("{}, line {}: {}", shown_name, records.fault_line(), records.failure()),
            {{}, shown_name, records.fault_line(), {}});
    const std::string place =
        records.lines > 0 ? fmt::format(", after line {}", records.lines) : std::string();
    throw usage_error(
        fmt::format("{}{}: reading stopped: {}", shown_name, place, records.failure()),
        {{}, shown_name, records.lines, {}});
}

line_scan scan_lines(text_records& records, const text_layout& layout,
                     const std::string& shown_name, progress& shown) {
    records.comment = layout.comment;
    const std::vector<opening_record> opening = opening_of(records, layout);
    if (opening.empty()) {
        refuse_failure(records, shown_name);
        throw usage_error(layout.header_line > 1
                              ? fmt::format("{}: --header-line {} is behind the last line",
                                            shown_name, layout.header_line)
                              : fmt::format("{}: the file is empty", shown_name),
                          {layout.header_line > 1 ? "--header-line" : "", shown_name, 0, {}});
    }
    if (opening.front().text.find('\0') != std::string::npos)
        throw usage_error(fmt::format("{}: this is no text; save it as CSV in UTF-8", shown_name),
                          {{}, shown_name, opening.front().line, {}});
    const found_head found = find_head(opening, layout);
    line_scan scan;
    take_head(scan, found);
    records.separator = scan.separator;
    records.columns = scan.head_fields;
    records.rewind();
    scanner rows(scan, records);
    while (records.next()) {
        if (records.first_line <= found.last_line) {
            ++scan.head_records;
            continue;
        }
        rows.take();
        if (scan.records % records_between_notes == 0)
            shown.note(fmt::format("looking at line {}", records.lines));
    }
    refuse_failure(records, shown_name);
    return scan;
}

} // namespace qmx_study
