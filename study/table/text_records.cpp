#include "study/table/text_records.hpp"

#include <algorithm>
#include <cstring>

#include "study/table/encodings.hpp"

namespace qmx_study {

namespace {

constexpr std::size_t block_size = std::size_t{1} << 20;

bool holds(std::string_view text, char c) {
    return !text.empty() && std::memchr(text.data(), c, text.size()) != nullptr;
}

bool holds_high_bytes(std::string_view text) {
    unsigned char all = 0;
    for (const char c : text) all |= static_cast<unsigned char>(c);
    return all >= 0x80;
}

bool has_odd_quotes(std::string_view line) {
    return std::count(line.begin(), line.end(), '"') % 2 != 0;
}

} // namespace

void text_records::rewind() {
    file.rewind();
    rest = {};
    first_line = lines = 0;
    line_end = '\n';
    has_returns = has_high_bytes = is_at_end = false;
}

// Moves what is left to the front of the buffer and reads on behind it.
void text_records::refill() {
    const bool is_first = lines == 0 && rest.empty();
    const std::size_t kept = rest.size();
    if (kept > 0) std::memmove(buffer.data(), rest.data(), kept);
    if (buffer.size() < kept + block_size) buffer.resize(kept + block_size);
    const std::size_t got = file.read(buffer.data() + kept, block_size);
    is_at_end = got < block_size;
    rest = {buffer.data(), kept + got};
    const std::string_view fresh = rest.substr(kept);
    has_returns = has_returns || holds(fresh, '\r');
    has_high_bytes = has_high_bytes || holds_high_bytes(fresh);
    if (is_first && has_returns && !holds(fresh, '\n')) line_end = '\r';
}

// A line without its end. False after the last one.
bool text_records::next_line(std::string_view& line) {
    std::size_t searched = 0;
    std::size_t length = 0;
    for (;;) {
        length = rest.size() == searched ? std::string_view::npos : rest.find(line_end, searched);
        if (length != std::string_view::npos || is_at_end) break;
        searched = rest.size();
        refill();
    }
    if (length == std::string_view::npos) {
        if (rest.empty()) return false;
        length = rest.size();
    }
    ++lines;
    line = rest.substr(0, length);
    std::size_t taken = std::min(length + 1, rest.size());
    if (has_returns && line_end == '\n') {
        while (line.ends_with('\r')) line.remove_suffix(1);
        const std::size_t mark = line.find('\r'); // ends a line alone too, as old programs write it
        if (mark != std::string_view::npos) {
            line = rest.substr(0, mark);
            taken = mark + 1;
        }
    }
    rest.remove_prefix(taken);
    return true;
}

bool text_records::next() {
    do {
        if (!next_line(text)) return false;
    } while (text.empty());
    first_line = lines;
    has_quotes = holds(text, '"');
    if (has_quotes && has_odd_quotes(text)) {
        joined.assign(text);
        for (bool is_within = true; is_within && next_line(text);) {
            joined += '\n';
            joined += text;
            is_within = !has_odd_quotes(text);
        }
        text = joined;
    }
    if (has_high_bytes && !is_utf8(text)) {
        decode_latin1(text, decoded);
        text = decoded;
    }
    return true;
}

void split_fields(std::string_view record, char separator, bool has_quotes, std::string& scratch,
                  std::vector<std::string_view>& fields) {
    fields.clear();
    const char* start = record.data();
    const char* const end = start + record.size();
    if (!has_quotes) {
        for (const char* c = start; c != end; ++c) {
            if (*c != separator) continue;
            fields.emplace_back(start, static_cast<std::size_t>(c - start));
            start = c + 1;
        }
        fields.emplace_back(start, static_cast<std::size_t>(end - start));
        return;
    }
    scratch.resize(record.size());
    char* out = scratch.data();
    const char* field = out;
    bool quoted = false;
    for (const char* c = start; c != end; ++c) {
        if (*c == '"') {
            const bool is_doubled = quoted && c + 1 != end && c[1] == '"';
            if (!is_doubled) {
                quoted = !quoted;
                continue;
            }
            ++c;
        } else if (*c == separator && !quoted) {
            fields.emplace_back(field, static_cast<std::size_t>(out - field));
            field = out;
            continue;
        }
        *out++ = *c;
    }
    fields.emplace_back(field, static_cast<std::size_t>(out - field));
}

} // namespace qmx_study
