#include "study/table/text_records.hpp"

#include <algorithm>
#include <cstring>

#include <cpl_error.h>

namespace qmx_study {

namespace {

constexpr std::size_t block_size = std::size_t{1} << 20;

bool holds(std::string_view text, char c) {
    return !text.empty() && std::memchr(text.data(), c, text.size()) != nullptr;
}

bool has_odd_quotes(std::string_view line) {
    return std::count(line.begin(), line.end(), '"') % 2 != 0;
}

} // namespace

text_records::text_records(const std::string& path) : file(VSIFOpenL(path.c_str(), "rb")) {}

void text_records::rewind() {
    VSIRewindL(file.get());
    rest = {};
    first_line = lines = 0;
    has_returns = is_at_end = false;
    failure.clear();
}

// Moves what is left to the front of the buffer and reads on behind it.
void text_records::refill() {
    const std::size_t kept = rest.size();
    if (kept > 0) std::memmove(buffer.data(), rest.data(), kept);
    if (buffer.size() < kept + block_size) buffer.resize(kept + block_size);
    CPLErrorReset();
    const std::size_t got = VSIFReadL(buffer.data() + kept, 1, block_size, file.get());
    if (CPLGetLastErrorType() >= CE_Failure) failure = CPLGetLastErrorMsg();
    is_at_end = got < block_size;
    rest = {buffer.data(), kept + got};
    const std::string_view fresh = rest.substr(kept);
    has_returns = has_returns || holds(fresh, '\r');
    is_plain = is_plain && !holds(fresh, '\0');
}

// A line without its end. False after the last one.
bool text_records::next_line(std::string_view& line) {
    std::size_t searched = 0;
    for (;;) {
        const std::size_t length =
            rest.size() == searched ? std::string_view::npos : rest.find('\n', searched);
        if (length != std::string_view::npos) {
            line = rest.substr(0, length);
            rest.remove_prefix(length + 1);
            break;
        }
        if (is_at_end) {
            if (rest.empty()) return false;
            line = rest;
            rest = {};
            break;
        }
        searched = rest.size();
        refill();
    }
    ++lines;
    if (!has_returns) return true;
    if (line.ends_with('\r')) line.remove_suffix(1);
    is_plain = is_plain && !holds(line, '\r');
    return true;
}

bool text_records::next() {
    do {
        if (!next_line(text)) return false;
    } while (text.empty());
    first_line = lines;
    has_quotes = holds(text, '"');
    if (!has_quotes || !has_odd_quotes(text)) return true;
    joined.assign(text);
    for (bool is_within = true; is_within && next_line(text);) {
        joined += '\n';
        joined += text;
        is_within = !has_odd_quotes(text);
    }
    text = joined;
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
