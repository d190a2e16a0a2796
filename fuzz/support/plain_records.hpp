// Delimited text taken apart in the plainest way: character by character, each line a text of its own.
#pragma once

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "study/table/encodings.hpp"

namespace fuzz {

// Lines end with a line feed behind any carriage returns, or with a carriage return alone.
inline std::vector<std::string> plain_lines(std::string_view text) {
    while (text.ends_with('\r')) text.remove_suffix(1);
    std::vector<std::string> lines(1);
    for (std::size_t i = 0; i < text.size(); ++i) {
        std::size_t behind = i;
        while (behind < text.size() && text[behind] == '\r') ++behind;
        if (text[i] == '\n') {
            lines.emplace_back();
        } else if (text[i] != '\r') {
            lines.back() += text[i];
        } else {
            if (behind < text.size() && text[behind] == '\n') i = behind;
            lines.emplace_back();
        }
    }
    return lines;
}

struct plain_fields {
    std::vector<std::string> fields{1};
    bool is_open = false; // a quotation
};

// A mark quotes at the start of a field; within a quotation a doubled one stands for one.
inline plain_fields fields_of(std::string_view record, char separator) {
    plain_fields made;
    enum { start, plain, quoted, closed } place = start;
    for (const char c : record) {
        if (place == quoted) {
            if (c == '"')
                place = closed;
            else
                made.fields.back() += c;
        } else if (c == separator) {
            made.fields.emplace_back();
            place = start;
        } else if (place == start && c == '"') {
            place = quoted;
        } else if (place == closed && c == '"') {
            made.fields.back() += c;
            place = quoted;
        } else {
            made.fields.back() += c;
            place = plain;
        }
    }
    made.is_open = place == quoted;
    return made;
}

struct plain_record {
    std::size_t line = 0; // its first one, from 1
    std::vector<std::string> fields;
};

// All records up to the first quotation that is no honest one; is_whole: there is none.
inline std::vector<plain_record> plain_records(std::string_view text, char separator,
                                               std::string_view comment, bool& is_whole) {
    constexpr std::size_t most_lines = 100;
    if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
    const std::vector<std::string> lines = plain_lines(text);
    std::vector<plain_record> records;
    is_whole = true;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        if (lines[i].empty() || (!comment.empty() && lines[i].starts_with(comment))) continue;
        const std::size_t first = i;
        std::string record = lines[i];
        while (fields_of(record, separator).is_open) {
            if (i + 1 == lines.size()) is_whole = false;
            if (!is_whole || i - first >= most_lines) {
                is_whole = false;
                return records;
            }
            // Text behind a mark that closes the quotation makes it a stray one.
            const std::string& next = lines[++i];
            bool open = true, followed = false;
            for (std::size_t k = 0; k < next.size(); ++k) {
                if (next[k] == '"')
                    open = !open;
                else if (!open && next[k] == separator)
                    break;
                else if (!open)
                    followed = true;
            }
            is_whole = !followed;
            record += '\n' + next;
        }
        if (!is_whole) return records;
        if (!qmx_study::is_utf8(record)) {
            std::string decoded;
            qmx_study::decode_latin1(record, decoded);
            record = decoded;
        }
        records.push_back({first + 1, fields_of(record, separator).fields});
    }
    return records;
}

} // namespace fuzz
