#include "study/table/text_records.hpp"

#include <algorithm>
#include <cstring>
#include <utility>

#include <fmt/format.h>

#include "study/base/number_text.hpp"
#include "study/table/encodings.hpp"

namespace qmx_study {

namespace {

// Of the first block: most that a small file takes.
constexpr std::size_t first_piece = std::size_t{1} << 14;
// That of a table has a thousandth of it.
constexpr std::size_t longest_record = std::size_t{1} << 26;
constexpr std::int64_t most_lines_of_a_field = 100; // more than a person writes into one

bool is_separator(char c, char separator) {
    return separator != '\0' ? c == separator : c == ',' || c == ';' || c == '\t' || c == '|';
}

bool holds(std::string_view text, char c) {
    return !text.empty() && std::memchr(text.data(), c, text.size()) != nullptr;
}

bool holds_high_bytes(std::string_view text) {
    constexpr std::uint64_t high_bits = 0x8080808080808080;
    std::uint64_t all = 0;
    std::size_t at = 0;
    for (; at + sizeof all <= text.size(); at += sizeof all) {
        std::uint64_t eight;
        std::memcpy(&eight, text.data() + at, sizeof eight);
        all |= eight;
    }
    for (; at < text.size(); ++at) all |= static_cast<unsigned char>(text[at]);
    return (all & high_bits) != 0;
}

// Where a character stands in its field. A quotation mark means something only at the start of a field
// and inside a quoted one; anywhere else it is a character like others.
enum class place_in_field { start, within, quoted, closed };

place_in_field next_place(place_in_field now, char c) {
    switch (now) {
    case place_in_field::start: return c == '"' ? place_in_field::quoted : place_in_field::within;
    case place_in_field::quoted: return c == '"' ? place_in_field::closed : place_in_field::quoted;
    case place_in_field::closed: return c == '"' ? place_in_field::quoted : place_in_field::within;
    case place_in_field::within: break;
    }
    return place_in_field::within;
}

struct line_end_state {
    place_in_field place;
    std::size_t closed_at = std::string_view::npos; // where the quotation that was open ends
    bool is_followed_by_text = false;               // and no separator comes behind it
};

line_end_state end_of(std::string_view line, char separator, place_in_field place) {
    line_end_state state{place};
    bool was_open = place == place_in_field::quoted;
    for (std::size_t i = 0; i < line.size(); ++i) {
        if (state.place != place_in_field::quoted && is_separator(line[i], separator)) {
            state.place = place_in_field::start;
            was_open = false;
            continue;
        }
        const place_in_field before = std::exchange(state.place, next_place(state.place, line[i]));
        if (!was_open) continue;
        if (state.place == place_in_field::closed) state.closed_at = i;
        if (state.place == place_in_field::quoted) state.closed_at = std::string_view::npos;
        if (before == place_in_field::closed && state.place == place_in_field::within)
            state.is_followed_by_text = true;
    }
    return state;
}

} // namespace

text_pieces& pieces_of_text() {
    static text_pieces pieces;
    return pieces;
}

void text_records::rewind() {
    file.rewind();
    rest = {};
    first_line = lines = comments = 0;
    fault_text.clear();
    line_end = '\n';
    has_returns = has_high_bytes = is_at_end = false;
}

std::string_view text_records::ahead() {
    if (line_end == '\n' && !holds(rest, '\n') && !is_at_end && fault_text.empty()) refill();
    return rest;
}

void text_records::pass_over(std::size_t bytes, std::int64_t lines_in_them) {
    rest.remove_prefix(bytes);
    lines += lines_in_them;
}

void text_records::go_on_in(std::string_view given) {
    rest = given;
    has_returns = has_high_bytes = true; // it may have
    is_at_end = false;
}

// What follows comes from someone who reads ahead.
void text_records::refill_by_hand() {
    std::string joined_text(rest), block;
    further(block);
    is_at_end = block.empty();
    joined_text += block;
    buffer = std::move(joined_text);
    rest = buffer;
}

// Moves what is left to the front of the buffer and reads on behind it.
void text_records::refill() {
    if (further) return refill_by_hand();
    const std::size_t block_size = pieces_of_text().block;
    const bool is_first = lines == 0 && rest.empty();
    const std::size_t kept = rest.size();
    if (kept > 0 && rest.data() != buffer.data()) std::memmove(buffer.data(), rest.data(), kept);
    std::size_t got = 0;
    is_at_end = false;
    while (got < block_size && !is_at_end) {
        const std::size_t piece =
            buffer.empty() ? std::min(first_piece, block_size) : block_size - got;
        if (buffer.size() < kept + got + piece) buffer.resize(kept + got + piece);
        const std::size_t taken = file.read(buffer.data() + kept + got, piece);
        is_at_end = taken < piece;
        got += taken;
    }
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
        if (searched > longest_record) {
            ++lines;
            fault_at = lines;
            fault_text =
                fmt::format("the line has more than {} MB: this is no table, or its line ends "
                            "are lost",
                            longest_record >> 20);
            return false;
        }
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
    if (!fault_text.empty()) return false;
    do {
        if (!next_line(text)) {
            buffer = {}; // many files of one lot may be open at a time
            rest = {};
            return false;
        }
    } while (text.empty() || is_comment(text));
    first_line = lines;
    has_quotes = holds(text, '"');
    if (has_quotes &&
        end_of(text, separator, place_in_field::start).place == place_in_field::quoted &&
        !join_lines())
        return false;
    if (has_high_bytes && !is_utf8(text)) {
        decode_latin1(text, decoded);
        text = decoded;
    }
    return true;
}

bool text_records::is_comment(std::string_view line) {
    const bool is_one = !comment.empty() && line.starts_with(comment);
    comments += is_one;
    return is_one;
}

// The lines of a quotation that is open at the end of `text`. False where it is no honest one.
bool text_records::join_lines() {
    joined.assign(text);
    for (std::string_view line;;) {
        if (!next_line(line))
            return fault_text.empty() &&
                   refuse(file.failure.empty() ? "it is not closed before the end of the file"
                                               : "");
        const line_end_state end = end_of(line, separator, place_in_field::quoted);
        if (is_row(line.substr(0, end.closed_at)))
            return refuse(fmt::format("it takes in line {}, which is a row of its own", lines));
        joined += '\n';
        joined += line;
        if (joined.size() > longest_record)
            return refuse(fmt::format("it is still open {} MB further on", longest_record >> 20));
        if (end.is_followed_by_text)
            return refuse(fmt::format("text follows where it is closed on line {}", lines));
        if (end.place != place_in_field::quoted) break;
        if (lines - first_line >= most_lines_of_a_field)
            return refuse(
                fmt::format("it is still open {} lines further on", most_lines_of_a_field));
    }
    text = joined;
    return true;
}

bool text_records::refuse(const std::string& reason) {
    if (!reason.empty())
        fault_text =
            fmt::format("a quotation mark opens here, but {}; close it, or leave it out", reason);
    fault_at = first_line;
    return false;
}

// Whether a line within a quotation looks like a record: as many fields, half of them numbers.
bool text_records::is_row(std::string_view line) const {
    if (columns < 2 || std::count(line.begin(), line.end(), separator) + 1 < columns) return false;
    std::string scratch;
    std::vector<std::string_view> fields;
    split_fields(line, separator, holds(line, '"'), scratch, fields);
    const auto numbers = std::count_if(fields.begin(), fields.end(), [](std::string_view field) {
        const text_kind point = read_text_value(field, {'.', {}}).kind;
        return point == text_kind::number ||
               read_text_value(field, {',', {}}).kind == text_kind::number;
    });
    return 2 * numbers >= columns;
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
    place_in_field place = place_in_field::start;
    for (const char* c = start; c != end; ++c) {
        if (place != place_in_field::quoted && *c == separator) {
            fields.emplace_back(field, static_cast<std::size_t>(out - field));
            field = out;
            place = place_in_field::start;
            continue;
        }
        const place_in_field before = std::exchange(place, next_place(place, *c));
        const bool is_mark = *c == '"' && before != place_in_field::within;
        if (!is_mark || (before == place_in_field::closed)) *out++ = *c;
    }
    fields.emplace_back(field, static_cast<std::size_t>(out - field));
}

} // namespace qmx_study
