#include "study/table/line_scan.hpp"

#include <algorithm>
#include <string_view>

#include <fmt/format.h>

#include "study/base/errors.hpp"
#include "study/base/number_text.hpp"
#include "study/base/progress.hpp"
#include "study/table/plain_rows.hpp"
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
    scan.last_head_line = found.last_line;
    scan.notes = found.notes;
    // "name," is a single column: its rows end with a separator.
    if (scan.head.size() == 2 && scan.head.back().empty()) scan.head.pop_back();
    scan.head_fields = static_cast<int>(scan.head.size());
}

} // namespace

int least_fields(const line_scan& scan) {
    int fields = scan.head_fields;
    while (fields > 1 && scan.head[static_cast<std::size_t>(fields) - 1].empty()) --fields;
    return fields;
}

record_count::record_count(line_scan& into, const text_records& from)
    : scan(into), source(from), named_fields(least_fields(into)) {
    scan.records = 0;
    scan.odd.clear();
    scan.steps.clear();
}

void record_count::take() {
    ++scan.records;
    note_line(source.first_line);
    const bool last_is_empty = source.text.ends_with(scan.separator);
    const int fields = count_fields();
    const int most = scan.head_fields + last_is_empty;
    if (fields >= named_fields && fields <= most) return;
    scan.odd.push_back({scan.records, fields});
}

void record_count::take_plain(std::int64_t more) {
    ++scan.records;
    note_line(source.lines - more + 1);
    scan.records += more - 1;
}

void record_count::note_line(std::int64_t first_line) {
    if (first_line - scan.records == offset) return;
    offset = first_line - scan.records;
    scan.steps.push_back({scan.records, first_line});
}

int record_count::count_fields() {
    if (!source.has_quotes)
        return 1 +
               static_cast<int>(std::count(source.text.begin(), source.text.end(), scan.separator));
    split_fields(source.text, scan.separator, true, scratch, fields_now);
    return static_cast<int>(fields_now.size());
}

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

line_scan scan_head(text_records& records, const text_layout& layout,
                    const std::string& shown_name) {
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
    line_scan scan;
    take_head(scan, find_head(opening, layout));
    records.separator = scan.separator;
    records.columns = scan.head_fields;
    return scan;
}

bool count_records(text_records& records, line_scan& scan, const text_layout& layout,
                   std::int64_t enough, const std::string& shown_name, progress& shown) {
    plain_layout plain;
    plain.separator = scan.separator;
    plain.comment = layout.comment;
    plain.columns.resize(static_cast<std::size_t>(scan.head_fields));
    plain.least_fields = static_cast<std::size_t>(least_fields(scan));
    const bool is_quick = !layout.is_careful && can_be_plain(plain);
    row_numbers none;
    records.rewind();
    scan.head_records = 0;
    record_count rows(scan, records);
    std::int64_t next_note = records_between_notes;
    while (scan.records < enough) {
        if (is_quick && scan.records > 0) {
            const plain_run run = take_plain_rows(records.ahead(), plain, none);
            records.pass_over(run.bytes, run.rows);
            if (run.rows > 0) rows.take_plain(run.rows);
        }
        if (!records.next()) {
            refuse_failure(records, shown_name);
            return true;
        }
        if (records.first_line <= scan.last_head_line)
            ++scan.head_records;
        else
            rows.take();
        if (scan.records < next_note) continue;
        shown.note(fmt::format("looking at line {}", records.lines));
        next_note = scan.records + records_between_notes;
    }
    return false;
}

} // namespace qmx_study
