// The condition of --where: any text, and generated conditions whose answers are known, against the laws of
// logic.
#include <cmath>
#include <functional>
#include <string>
#include <vector>

#include "study/lot/filter_expression.hpp"
#include "support/input_bytes.hpp"
#include "support/reader_input.hpp"

using namespace fuzz;
using namespace qmx_study;

namespace {

struct row {
    double x, cmv;       // NaN: missing
    const char *g, *a_b; // null: missing
};
constexpr double none = std::numeric_limits<double>::quiet_NaN();
const row rows[] = {{1, 3, "a", "North"},    {2, none, "B", "it's"}, {5, 4, "ab", "50%"},
                    {6, none, nullptr, ""},  {7, 9, "A_b", "a%b"},   {-2.5, 0, "\xC3\xA9", "a%b"},
                    {0, 1e6, "abc", nullptr}};
constexpr std::size_t row_count = std::size(rows);
constexpr unsigned all_rows = (1U << row_count) - 1;
const char* const names[] = {"x", "CMV", "g", "a b"};

filter_expression::column column_named(std::string_view name) {
    for (int i = 0; i < 4; ++i)
        if (name == names[i]) return {i, i < 2};
    return {-1, false};
}

filter_value value_in(std::size_t i, int column) {
    if (column == filter_expression::record_number) return {false, static_cast<double>(i + 1), {}};
    if (column < 2) {
        const double number = column == 0 ? rows[i].x : rows[i].cmv;
        return {std::isnan(number), std::isnan(number) ? 0 : number, {}};
    }
    const char* const field = column == 2 ? rows[i].g : rows[i].a_b;
    return {field == nullptr, 0, field ? field : ""};
}

// A bit for each row that it keeps.
unsigned kept_by(const filter_expression& filter) {
    unsigned kept = 0;
    for (std::size_t i = 0; i < row_count; ++i)
        if (filter.holds([&](int column) {
                const auto& listed = filter.columns();
                require<"a filter looks at the columns that it lists">(
                    column == filter_expression::record_number ||
                    std::find(listed.begin(), listed.end(), column) != listed.end());
                return value_in(i, column);
            }))
            kept |= 1U << i;
    return kept;
}

// False where it is refused.
bool kept_by(const std::string& text, unsigned& kept, std::string& refusal) {
    return reads([&] { kept = kept_by(filter_expression(text, column_named)); }, &refusal);
}

void require_answer(const std::string& text, unsigned wanted) {
    unsigned kept = 0;
    std::string refusal;
    const bool is_read = kept_by(text, kept, refusal);
    require<"a condition within others is read, unless it is nested too deep">(
        is_read || refusal.find("nested too deep") != std::string::npos);
    if (is_read) require<"conditions join by the laws of logic">(kept == wanted);
}

void check_any(const std::string& text) {
    unsigned kept = 0;
    std::string refusal;
    if (!kept_by(text, kept, refusal)) return;
    const filter_expression filter(text, column_named);
    require<"columns are listed ascending">(
        std::is_sorted(filter.columns().begin(), filter.columns().end()) &&
        std::adjacent_find(filter.columns().begin(), filter.columns().end()) ==
            filter.columns().end());
    unsigned above = 0;
    for (std::size_t i = 0; i < row_count; ++i)
        if (rows[i].cmv > 3) above |= 1U << i;
    const std::string inner = "(" + text + ")";
    require_answer(inner, kept);
    require_answer("NOT " + inner, all_rows & ~kept);
    require_answer("NOT not " + inner, kept);
    require_answer(inner + " AND " + inner, kept);
    require_answer(inner + " or CMV>3", kept | above);
    require_answer("NOT (" + inner + " AND CMV > 3)", all_rows & ~(kept & above));
}

// A condition made of the bytes, with what it answers by plain rules.
struct known {
    std::string text;
    unsigned kept;
};

unsigned rows_where(const std::function<bool(const row&, std::size_t)>& holds) {
    unsigned kept = 0;
    for (std::size_t i = 0; i < row_count; ++i)
        if (holds(rows[i], i)) kept |= 1U << i;
    return kept;
}

known comparison(input_bytes& input) {
    const int number = input.bits<std::int8_t>() % 12;
    const bool of_x = input.byte() % 2 == 0;
    const auto field = [of_x](const row& each) { return of_x ? each.x : each.cmv; };
    const std::string name = of_x ? "x" : "\"CMV\"", written = std::to_string(number);
    switch (input.byte() % 10) {
    case 0:
        return {name + " = " + written,
                rows_where([&](const row& r, std::size_t) { return field(r) == number; })};
    case 1:
        return {name + "<>" + written, rows_where([&](const row& r, std::size_t) {
                    return field(r) < number || field(r) > number;
                })};
    case 2:
        return {name + " < '" + written + "'",
                rows_where([&](const row& r, std::size_t) { return field(r) < number; })};
    case 3:
        return {written + " <= " + name,
                rows_where([&](const row& r, std::size_t) { return field(r) >= number; })};
    case 4:
        return {name + " IS NULL",
                rows_where([&](const row& r, std::size_t) { return std::isnan(field(r)); })};
    case 5:
        return {name + " NOT IN (3, " + written + ")", rows_where([&](const row& r, std::size_t) {
                    return !(field(r) == 3 || field(r) == number);
                })};
    case 6:
        return {name + " BETWEEN " + written + " AND 6", rows_where([&](const row& r, std::size_t) {
                    return field(r) >= number && field(r) <= 6;
                })};
    case 7:
        return {"fid*2-1 > " + written + "/1.0", rows_where([&](const row&, std::size_t i) {
                    return 2 * static_cast<double>(i + 1) - 1 > number;
                })};
    case 8:
        return {"g ILIKE 'A%'", rows_where([&](const row& r, std::size_t) {
                    return r.g && (r.g[0] == 'a' || r.g[0] == 'A');
                })};
    default:
        return {"g = 'AB'", rows_where([&](const row& r, std::size_t) {
                    return r.g && std::string_view(r.g) == "ab";
                })};
    }
}

known made_of(input_bytes& input, int depth) {
    const std::uint8_t way = depth > 5 || input.left() == 0 ? 0 : input.byte() % 5;
    if (way < 2) return comparison(input);
    known left = made_of(input, depth + 1);
    if (way == 2) return {"not(" + left.text + ")", all_rows & ~left.kept};
    const known right = made_of(input, depth + 1);
    const bool is_both = way == 3;
    return {"(" + left.text + (is_both ? ") AND (" : ") OR(") + right.text + ")",
            is_both ? left.kept & right.kept : left.kept | right.kept};
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    input_bytes input(data, size);
    if (input.byte() % 2 == 0) {
        check_any(std::string(text_of(input.rest(), input.left())));
        return 0;
    }
    const known made = made_of(input, 0);
    unsigned kept = 0;
    std::string refusal;
    require<"a sound condition is read">(kept_by(made.text, kept, refusal));
    require<"a condition keeps the rows that it says">(kept == made.kept);
    return 0;
}
