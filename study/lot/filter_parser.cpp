#include "study/lot/filter_parser.hpp"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <string>

#include <fmt/format.h>

#include "study/base/errors.hpp"
#include "study/base/number_text.hpp"

namespace qmx_study {

namespace {

using node = filter_expression::node;
using operation = filter_expression::operation;
using namer = std::function<filter_expression::column(std::string_view)>;

constexpr int deepest = 200;     // parentheses within parentheses
constexpr int most_signs = 1000; // of arithmetic, which nest as deep

enum class token_kind { end, word, quoted_name, text, number, sign };

struct token {
    token_kind kind = token_kind::end;
    std::string text; // of a sign: "<=", of a word: as it was written
    double number = 0;
    std::size_t start = 0; // in the filter
};

bool is_of_word(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) || c == '_' ||
           static_cast<unsigned char>(c) >= 0x80;
}

[[noreturn]] void refuse(const std::string& reason) {
    throw usage_error(reason, {"--where", {}, 0, {}});
}

class tokens {
public:
    explicit tokens(std::string_view filter) : all(filter) { advance(); }

    token now;

    void advance() {
        while (at < all.size() && std::isspace(static_cast<unsigned char>(all[at]))) ++at;
        now = {};
        now.start = at;
        if (at == all.size()) return;
        const char c = all[at];
        const bool starts_number = std::isdigit(static_cast<unsigned char>(c)) ||
                                   (c == '.' && at + 1 < all.size() &&
                                    std::isdigit(static_cast<unsigned char>(all[at + 1])));
        if (starts_number) {
            take_number();
        } else if (c == '\'' || c == '"' || c == '`') {
            take_quoted(c);
        } else if (is_of_word(c)) {
            now.kind = token_kind::word;
            while (at < all.size() && is_of_word(all[at])) now.text += all[at++];
        } else {
            take_sign();
        }
    }

    bool is_word(std::string_view word) const {
        return now.kind == token_kind::word && same_text(now.text, word);
    }
    bool is_sign(std::string_view sign) const {
        return now.kind == token_kind::sign && now.text == sign;
    }
    bool take_word(std::string_view word) {
        const bool is_there = is_word(word);
        if (is_there) advance();
        return is_there;
    }
    bool take_sign(std::string_view sign) {
        const bool is_there = is_sign(sign);
        if (is_there) advance();
        return is_there;
    }
    [[noreturn]] void refuse_here(const std::string& wanted) const {
        const std::string_view before = all.substr(0, now.start);
        refuse(now.kind == token_kind::end
                   ? fmt::format("{} is wanted at its end", wanted)
                   : fmt::format("{} is wanted behind \"{}\", before \"{}\"", wanted,
                                 trimmed(before), trimmed(all.substr(now.start))));
    }

private:
    std::string_view all;
    std::size_t at = 0;

    void take_number() {
        now.kind = token_kind::number;
        const char* const first = all.data() + at;
        const auto [stop, error] = std::from_chars(first, all.data() + all.size(), now.number);
        at += static_cast<std::size_t>(stop - first);
        if (error != std::errc{} || (at < all.size() && is_of_word(all[at]))) {
            while (at < all.size() && is_of_word(all[at])) ++at;
            refuse(fmt::format("\"{}\" is not a number", all.substr(now.start, at - now.start)));
        }
    }
    // The mark itself stands doubled or behind a backslash.
    void take_quoted(char mark) {
        now.kind = mark == '\'' ? token_kind::text : token_kind::quoted_name;
        for (++at; at < all.size(); ++at) {
            const char following = at + 1 < all.size() ? all[at + 1] : '\0';
            if ((all[at] == '\\' || all[at] == mark) && following == mark) {
                ++at;
            } else if (all[at] == mark) {
                ++at;
                return;
            }
            now.text += all[at];
        }
        refuse(fmt::format("the mark {} that opens {} is not closed", mark, all.substr(now.start)));
    }
    void take_sign() {
        now.kind = token_kind::sign;
        for (const char* const pair : {"<=", ">=", "<>", "!=", "=<", "=>", "=="})
            if (all.substr(at, 2) == pair) now.text = pair;
        if (now.text.empty()) now.text = all[at];
        at += now.text.size();
    }
};

class parser {
public:
    parser(std::string_view filter, const namer& column_of)
        : next(filter), column_named(column_of) {}

    node whole() {
        node result = disjunction();
        if (next.now.kind != token_kind::end) next.refuse_here("AND, OR or nothing");
        return as_condition(std::move(result));
    }

private:
    tokens next;
    const namer& column_named;
    int depth = 0;
    int signs = 0;

    template <class... Nodes> static node make(operation what, Nodes... operands) {
        node result{};
        result.what = what;
        result.operands.reserve(sizeof...(operands));
        (result.operands.push_back(std::move(operands)), ...);
        return result;
    }
    // Conditions in a row are one node, however many there are.
    static node joined(operation what, node left, node right) {
        if (left.what != what) return make(what, std::move(left), std::move(right));
        left.operands.push_back(std::move(right));
        return left;
    }
    node of_numbers(operation what, node left, node right) {
        if (++signs > most_signs) refuse("it is nested too deep");
        return make(what, std::move(left), std::move(right));
    }
    static node as_condition(node candidate) {
        if (!candidate.is_condition())
            refuse("a condition is wanted, such as a comparison; a value alone is none");
        return candidate;
    }
    static node as_value(node candidate) {
        if (candidate.is_condition()) refuse("a comparison takes numbers or texts, not conditions");
        return candidate;
    }
    static node as_number(node candidate) {
        candidate = as_value(std::move(candidate));
        if (candidate.type == filter_type::text) refuse("arithmetic takes numbers, not texts");
        return candidate;
    }

    node disjunction() {
        node left = conjunction();
        while (next.take_word("OR")) {
            left = as_condition(std::move(left));
            left = joined(operation::disjunction, std::move(left), as_condition(conjunction()));
        }
        return left;
    }
    node conjunction() {
        node left = negation();
        while (next.take_word("AND")) {
            left = as_condition(std::move(left));
            left = joined(operation::conjunction, std::move(left), as_condition(negation()));
        }
        return left;
    }
    node negation() {
        if (!next.take_word("NOT")) return comparison();
        if (++depth > deepest) refuse("it is nested too deep");
        node inner = as_condition(negation());
        --depth;
        return make(operation::negation, std::move(inner));
    }

    node comparison() {
        node left = sum();
        static constexpr std::pair<std::string_view, operation> comparisons[] = {
            {"=", operation::equal},          {"==", operation::equal},
            {"<>", operation::unequal},       {"!=", operation::unequal},
            {"<", operation::less},           {"<=", operation::less_equal},
            {"=<", operation::less_equal},    {">", operation::greater},
            {">=", operation::greater_equal}, {"=>", operation::greater_equal}};
        for (const auto& [sign, what] : comparisons)
            if (next.take_sign(sign)) {
                left = as_value(std::move(left));
                return of_one_type(make(what, std::move(left), as_value(sum())));
            }
        if (next.take_word("IS")) {
            const bool is_denied = next.take_word("NOT");
            if (!next.take_word("NULL")) next.refuse_here("NULL");
            node test = make(operation::is_null, as_value(std::move(left)));
            return is_denied ? make(operation::negation, std::move(test)) : test;
        }
        const bool is_denied = next.take_word("NOT");
        node test{};
        if (next.take_word("IN")) {
            test = list_test(std::move(left));
        } else if (next.take_word("BETWEEN")) {
            node lowest = sum();
            if (!next.take_word("AND")) next.refuse_here("AND");
            left = as_value(std::move(left));
            lowest = as_value(std::move(lowest));
            test = of_one_type(
                make(operation::between, std::move(left), std::move(lowest), as_value(sum())));
        } else if (next.is_word("LIKE") || next.is_word("ILIKE")) {
            test = pattern_test(std::move(left));
        } else {
            if (is_denied) next.refuse_here("IN, BETWEEN or LIKE");
            return left;
        }
        // A test holds only where no value is missing; its denial is the opposite of that.
        return is_denied ? make(operation::negation, std::move(test)) : test;
    }
    node list_test(node left) {
        node test = make(operation::in, as_value(std::move(left)));
        if (!next.take_sign("(")) next.refuse_here("a list in parentheses");
        do {
            test.operands.push_back(as_value(sum()));
        } while (next.take_sign(","));
        if (!next.take_sign(")")) next.refuse_here("\")\"");
        return of_one_type(std::move(test));
    }
    node pattern_test(node left) {
        const operation what = next.is_word("LIKE") ? operation::like : operation::ilike;
        next.advance();
        left = as_value(std::move(left));
        node test = make(what, std::move(left), as_value(sum()));
        for (const node& operand : test.operands)
            if (operand.type == filter_type::number) refuse("LIKE compares texts, not numbers");
        if (next.take_word("ESCAPE")) {
            if (next.now.kind != token_kind::text || next.now.text.size() != 1)
                next.refuse_here("one character such as '!'");
            test.escape = next.now.text[0];
            next.advance();
        }
        return test;
    }

    // Texts of the filter that are numbers compare with numbers; a column of texts does not.
    static node of_one_type(node test) {
        const auto is_number = [](const node& each) { return each.type == filter_type::number; };
        const auto is_text = [](const node& each) { return each.type == filter_type::text; };
        const bool numbers = std::any_of(test.operands.begin(), test.operands.end(), is_number);
        test.type = numbers ? filter_type::number : filter_type::text;
        if (!numbers) return test;
        for (node& operand : test.operands) {
            if (!is_text(operand)) continue;
            const bool is_constant = operand.what == operation::constant;
            if (!is_constant || !read_plain_number(operand.constant.text, operand.constant.number))
                refuse(is_constant
                           ? fmt::format("'{}' is no number, but what it is compared with is",
                                         operand.constant.text)
                           : "a column of texts is compared with a number");
            operand.type = filter_type::number;
        }
        return test;
    }

    node sum() {
        node left = product();
        for (;;) {
            const bool adds = next.is_sign("+");
            if (!adds && !next.is_sign("-")) return left;
            next.advance();
            left = as_number(std::move(left));
            left = of_numbers(adds ? operation::plus : operation::minus, std::move(left),
                              as_number(product()));
        }
    }
    node product() {
        node left = factor();
        for (;;) {
            operation what = operation::times;
            if (next.is_sign("/"))
                what = operation::divided;
            else if (next.is_sign("%"))
                what = operation::remainder;
            else if (!next.is_sign("*"))
                return left;
            next.advance();
            left = as_number(std::move(left));
            left = of_numbers(what, std::move(left), as_number(factor()));
        }
    }
    node factor() {
        if (next.take_sign("-")) {
            if (++depth > deepest) refuse("it is nested too deep");
            node inner = as_number(factor());
            --depth;
            return make(operation::negative, std::move(inner));
        }
        if (next.take_sign("(")) {
            if (++depth > deepest) refuse("it is nested too deep");
            node inner = disjunction();
            --depth;
            if (!next.take_sign(")")) next.refuse_here("\")\"");
            return inner;
        }
        return leaf();
    }
    node leaf() {
        node result{};
        result.what = operation::constant;
        const token taken = next.now;
        const bool is_name =
            taken.kind == token_kind::quoted_name || taken.kind == token_kind::word;
        if (taken.kind == token_kind::number) {
            result.constant = {false, taken.number, {}};
        } else if (taken.kind == token_kind::text) {
            result.type = filter_type::text;
            result.constant = {false, 0, taken.text};
        } else if (next.is_word("NULL")) {
            result.type = filter_type::null;
        } else if (is_name) {
            result.what = operation::column;
            const filter_expression::column column = column_named(taken.text);
            const bool is_record = column.index < 0 && same_text(taken.text, "FID");
            if (column.index < 0 && !is_record)
                refuse(fmt::format("\"{}\" is not one of the columns", taken.text));
            result.column = is_record ? filter_expression::record_number : column.index;
            result.type = is_record || column.is_number ? filter_type::number : filter_type::text;
        } else {
            next.refuse_here("a column, a number or a text");
        }
        next.advance();
        return result;
    }
};

} // namespace

node parse_filter(std::string_view text, const namer& column_named) {
    return parser(text, column_named).whole();
}

} // namespace qmx_study
