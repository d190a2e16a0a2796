#include "line_scan.hpp"

#include <algorithm>
#include <cstring>
#include <memory>

#include <cpl_vsi.h>
#include <fmt/format.h>

#include "command.hpp"
#include "number_text.hpp"
#include "progress.hpp"

namespace qmx_ic_app {

namespace {

constexpr std::size_t block_size = std::size_t{1} << 20;

struct file_closer {
    void operator()(VSILFILE* file) const { VSIFCloseL(file); }
};

// The separator as the CSV reader finds it: the one of the head line, a comma if there are several.
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

class scanner {
public:
    scanner(line_scan& into, const std::string& name) : scan(into), shown_name(name) {}

    void take_line(std::string_view line) {
        ++lines;
        if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
        const bool has_quotes = std::memchr(line.data(), '"', line.size()) != nullptr;
        if (open_record.empty()) {
            if (line.empty()) return;
            first_line = lines;
            if (!has_quotes || std::count(line.begin(), line.end(), '"') % 2 == 0) {
                take_record(line, has_quotes);
                return;
            }
            open_record.assign(line);
            return;
        }
        open_record += '\n';
        open_record += line;
        if (std::count(line.begin(), line.end(), '"') % 2 != 0) close();
    }

    void close() {
        if (!open_record.empty()) take_record(open_record, true);
        open_record.clear();
    }

    std::int64_t lines = 0;

private:
    void take_record(std::string_view record, bool has_quotes) {
        bool last_is_empty = false;
        if (scan.head_fields == 0) {
            if (record.starts_with("\xEF\xBB\xBF")) record.remove_prefix(3);
            if (record.find('\0') != std::string_view::npos)
                throw usage_error(fmt::format(
                    "{}: this is no text in UTF-8; save it as CSV in UTF-8", shown_name));
            scan.separator = separator_of(record);
            scan.head = fields_of(record, scan.separator);
            // The CSV reader, too, takes "name," as a single column.
            if (scan.head.size() == 2 && scan.head.back().empty()) scan.head.pop_back();
            scan.head_fields = static_cast<int>(scan.head.size());
            named_fields = scan.head_fields;
            while (named_fields > 1 &&
                   scan.head[static_cast<std::size_t>(named_fields) - 1].empty())
                --named_fields; // separators at the end of the head line need not stand in the rows
            offset = first_line;
            return;
        }
        ++scan.records;
        if (first_line - scan.records != offset) {
            offset = first_line - scan.records;
            scan.steps.push_back({scan.records, first_line});
        }
        const int fields = count_fields(record, scan.separator, has_quotes, last_is_empty);
        const int most = scan.head_fields + last_is_empty;
        if (fields >= named_fields && fields <= most) return;
        scan.odd.push_back({scan.records, fields});
    }

    line_scan& scan;
    const std::string& shown_name;
    std::string open_record; // a record whose quoted field goes on in the next line
    std::int64_t first_line = 0;
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

line_scan scan_lines(const std::string& path, const std::string& shown_name, progress& shown) {
    const std::unique_ptr<VSILFILE, file_closer> file(VSIFOpenL(path.c_str(), "rb"));
    if (!file) throw usage_error(fmt::format("{}: the file cannot be opened", shown_name));

    line_scan scan;
    scanner lines(scan, shown_name);
    std::string buffer;
    std::size_t kept = 0; // an unfinished line at the start of the buffer
    for (;;) {
        buffer.resize(kept + block_size);
        const std::size_t got = VSIFReadL(buffer.data() + kept, 1, block_size, file.get());
        std::string_view rest(buffer.data(), kept + got);
        for (;;) {
            const void* const end = std::memchr(rest.data(), '\n', rest.size());
            if (end == nullptr) break;
            const auto length =
                static_cast<std::size_t>(static_cast<const char*>(end) - rest.data());
            lines.take_line(rest.substr(0, length));
            rest.remove_prefix(length + 1);
        }
        if (got < block_size) {
            if (!rest.empty()) lines.take_line(rest);
            break;
        }
        kept = rest.size();
        std::memmove(buffer.data(), rest.data(), kept);
        shown.note(fmt::format("looking at line {}", lines.lines));
    }
    lines.close();
    if (scan.head_fields == 0) throw usage_error(fmt::format("{}: the file is empty", shown_name));
    return scan;
}

} // namespace qmx_ic_app
