#include "study/lot/filter_expression.hpp"

#include <algorithm>
#include <cmath>

#include "study/lot/filter_parser.hpp"

namespace qmx_study {

namespace {

using node = filter_expression::node;
using operation = filter_expression::operation;
using reader = std::function<filter_value(int)>;

char lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

// Negative, zero or positive, as the first text comes before, with or after the second.
int compare_texts(std::string_view left, std::string_view right) {
    const std::size_t common = std::min(left.size(), right.size());
    for (std::size_t i = 0; i < common; ++i) {
        const auto a = static_cast<unsigned char>(lower(left[i]));
        const auto b = static_cast<unsigned char>(lower(right[i]));
        if (a != b) return a < b ? -1 : 1;
    }
    return left.size() == right.size() ? 0 : (left.size() < right.size() ? -1 : 1);
}

bool is_continuation(char c) {
    return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
}

std::size_t length_of_character(std::string_view text) {
    std::size_t length = 1;
    while (length < text.size() && is_continuation(text[length])) ++length;
    return length;
}

// '%' stands for any text, '_' for one character. Where the pattern fails behind a '%', that one takes
// a character more; those before it need not be tried again.
bool is_like(std::string_view text, std::string_view pattern, char escape, bool any_case) {
    std::size_t at = 0, wanted = 0;
    std::size_t retry_at = 0, retry_wanted = std::string_view::npos;
    while (at < text.size() || wanted < pattern.size()) {
        if (wanted < pattern.size() && pattern[wanted] == '%') {
            retry_at = at;
            retry_wanted = ++wanted;
            continue;
        }
        if (wanted < pattern.size() && at < text.size()) {
            const bool is_escaped =
                escape != '\0' && pattern[wanted] == escape && wanted + 1 < pattern.size();
            const char c = pattern[wanted + is_escaped];
            const bool is_any = c == '_' && !is_escaped;
            if (is_any || c == text[at] || (any_case && lower(c) == lower(text[at]))) {
                at += is_any ? length_of_character(text.substr(at)) : 1;
                wanted += 1U + is_escaped;
                continue;
            }
        }
        if (retry_wanted == std::string_view::npos || retry_at >= text.size()) return false;
        at = ++retry_at;
        wanted = retry_wanted;
    }
    return true;
}

double arithmetic(operation what, double a, double b) {
    switch (what) {
    case operation::plus: return a + b;
    case operation::minus: return a - b;
    case operation::times: return a * b;
    case operation::divided: return a / b;
    default: return std::fmod(a, b);
    }
}

filter_value value_of(const node& at, const reader& row) {
    if (at.what == operation::constant) return at.constant;
    if (at.what == operation::column) return row(at.column);
    filter_value left = value_of(at.operands[0], row);
    if (left.is_null) return left;
    if (at.what == operation::negative) {
        left.number = -left.number;
        return left;
    }
    const filter_value right = value_of(at.operands[1], row);
    left.number = arithmetic(at.what, left.number, right.number);
    left.is_null = right.is_null || !std::isfinite(left.number); // a division by zero has no value
    return left;
}

int compare(const filter_value& left, const filter_value& right, filter_type type) {
    if (type == filter_type::text) return compare_texts(left.text, right.text);
    return left.number < right.number ? -1 : (left.number > right.number ? 1 : 0);
}

bool holds_for(const node& at, const std::vector<filter_value>& values) {
    const auto order = [&](std::size_t other) {
        return compare(values[0], values[other], at.type);
    };
    switch (at.what) {
    case operation::equal: return order(1) == 0;
    case operation::unequal: return order(1) != 0;
    case operation::less: return order(1) < 0;
    case operation::less_equal: return order(1) <= 0;
    case operation::greater: return order(1) > 0;
    case operation::greater_equal: return order(1) >= 0;
    case operation::between: return order(1) >= 0 && order(2) <= 0;
    case operation::like:
    case operation::ilike:
        return is_like(values[0].text, values[1].text, at.escape, at.what == operation::ilike);
    default: // IN
        for (std::size_t i = 1; i < values.size(); ++i)
            if (order(i) == 0) return true;
        return false;
    }
}

bool condition(const node& at, const reader& row) {
    if (at.what == operation::negation) return !condition(at.operands[0], row);
    if (at.what == operation::conjunction || at.what == operation::disjunction) {
        const bool settles = at.what == operation::disjunction;
        for (const node& operand : at.operands)
            if (condition(operand, row) == settles) return settles;
        return !settles;
    }
    std::vector<filter_value> values;
    for (const node& operand : at.operands) {
        values.push_back(value_of(operand, row));
        if (at.what == operation::is_null) return values[0].is_null;
        if (values.back().is_null) return false;
    }
    return holds_for(at, values);
}

void collect_columns(const node& at, std::vector<int>& columns) {
    if (at.what == operation::column && at.column >= 0) columns.push_back(at.column);
    for (const node& operand : at.operands) collect_columns(operand, columns);
}

} // namespace

filter_expression::filter_expression(std::string_view text,
                                     const std::function<column(std::string_view)>& column_named)
    : root(parse_filter(text, column_named)) {
    collect_columns(root, used);
    std::sort(used.begin(), used.end());
    used.erase(std::unique(used.begin(), used.end()), used.end());
}

bool filter_expression::holds(const reader& row) const {
    return condition(root, row);
}

} // namespace qmx_study
