#include "study/table/plain_rows.hpp"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>

#include "study/base/short_number.hpp"
#include "study/table/field_ends.hpp"

namespace qmx_study {

namespace {

bool starts_as_number(char first) {
    return (first >= '0' && first <= '9') || first == '-' || first == '+' || first == '.' ||
           first == ',' || first == ' ';
}

// "2025-10-01 09:30" and "12:30": digits, then a mark that stands in no number and starts no unit.
bool is_date_or_time(const char* at, const char* end) {
    const char* const first = at;
    while (at != end && *at >= '0' && *at <= '9') ++at;
    return at != first && at != end && (*at == '-' || *at == ':' || *at == '/');
}

class row_taker {
public:
    row_taker(std::string_view from, const plain_layout& wanted, row_numbers& result)
        : text(from), layout(wanted), into(result) {}

    plain_run run() {
        make_room();
        std::size_t at = 0;
        for (; at + looked_at_together <= text.size(); at += looked_at_together)
            if (!take_ends(at, field_ends(text.data() + at, layout.separator))) return done;
        std::array<char, looked_at_together> rest{};
        const std::size_t left = text.size() - at;
        if (left > 0) std::memcpy(rest.data(), text.data() + at, left);
        const std::uint64_t present = (std::uint64_t{1} << left) - 1;
        take_ends(at, field_ends(rest.data(), layout.separator) & present);
        return done;
    }

private:
    std::string_view text;
    const plain_layout& layout;
    row_numbers& into;
    plain_run done;
    std::size_t field_start = 0;
    std::size_t fields = 0; // of the present row, that are whole
    double* numbers = nullptr;
    bool has_number = false;
    bool has_text_behind = false; // behind the last column

    void make_room() {
        const std::size_t needed = into.used + layout.numbers.size();
        if (into.values.size() < needed)
            into.values.resize(std::max(needed, 2 * into.values.size() + 1024));
        numbers = into.values.data() + into.used;
    }

    // False at a row that is not plain.
    bool take_ends(std::size_t at, std::uint64_t ends) {
        for (; ends != 0; ends &= ends - 1) {
            const std::size_t place = at + static_cast<std::size_t>(std::countr_zero(ends));
            const char c = text[place];
            bool is_plain = false;
            if (c == layout.separator) {
                is_plain = take_field(place);
                field_start = place + 1;
            } else if (c == '\n') {
                is_plain = take_row(place);
            } else if (c == '\r') {
                if (place + 1 == text.size()) return true; // the row goes on behind the text
                is_plain = text[place + 1] == '\n';
            }
            if (is_plain) continue;
            done.is_broken = true;
            return false;
        }
        return true;
    }

    bool take_row(std::size_t line_end) {
        std::size_t end = line_end;
        if (end > done.bytes && text[end - 1] == '\r') --end;
        if (end == done.bytes || !take_field(end)) return false;
        if (fields < layout.least_fields || has_text_behind) return false;
        if (!layout.numbers.empty() && !has_number) return false;
        if (!layout.comment.empty() && text.substr(done.bytes).starts_with(layout.comment))
            return false;
        ++done.rows;
        done.bytes = field_start = line_end + 1;
        fields = 0;
        has_number = false;
        into.used += layout.numbers.size();
        make_room();
        return true;
    }

    bool take_field(std::size_t field_end) {
        const char* const start = text.data() + field_start;
        const char* const end = text.data() + field_end;
        if (fields >= layout.columns.size()) { // an empty one may stand at the end of the row
            has_text_behind = start != end || fields > layout.columns.size();
            ++fields;
            return !has_text_behind;
        }
        const plain_column& column = layout.columns[fields++];
        switch (column.rule) {
        case field_rule::any: return true;
        case field_rule::numeric: return start == end || starts_as_number(*start);
        case field_rule::text:
            return start == end || !starts_as_number(*start) || is_no_number(start, end);
        case field_rule::label: return start == end || !starts_as_number(*start);
        case field_rule::number: break;
        }
        return take_number(start, end, column.place);
    }

    bool is_no_number(const char* start, const char* end) const {
        if (is_date_or_time(start, end)) return true;
        const text_kind kind =
            read_text_value({start, static_cast<std::size_t>(end - start)}, layout.style).kind;
        return kind == text_kind::not_a_number || kind == text_kind::missing;
    }

    bool take_number(const char* start, const char* end, std::uint32_t place) {
        const plain_number& wanted = layout.numbers[place];
        double& number = numbers[place];
        if (start == end) {
            number = std::numeric_limits<double>::quiet_NaN();
            return wanted.may_be_missing;
        }
        if (!read_short_number(start, end, layout.style.decimal, number)) {
            const text_value field =
                read_text_value({start, static_cast<std::size_t>(end - start)}, layout.style);
            if (field.kind != text_kind::number || !starts_as_number(*start)) return false;
            number = field.value;
        }
        has_number = true;
        const double size = std::fabs(number);
        if (size > wanted.most) return false;
        if (wanted.is_whole && number != std::floor(number)) return false;
        const std::vector<double>& codes = wanted.codes;
        return codes.empty() || number > codes.back() ||
               !std::binary_search(codes.begin(), codes.end(), number);
    }
};

} // namespace

bool can_be_plain(const plain_layout& layout) {
    const char c = layout.separator;
    return c != '\0' && c != '"' && c != '\n' && c != '\r' && static_cast<unsigned char>(c) < 0x80;
}

plain_run take_plain_rows(std::string_view text, const plain_layout& layout, row_numbers& into) {
    return row_taker(text, layout, into).run();
}

} // namespace qmx_study
