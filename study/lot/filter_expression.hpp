// The condition of --where: comparisons of columns, numbers and texts, joined by AND, OR and NOT.
//
//   condition   NOT, AND, OR and parentheses, in the usual order, round
//               a = b   a <> b   a != b   a < b   a <= b   a > b   a >= b
//               a [NOT] IN (b, c)   a [NOT] BETWEEN b AND c   a IS [NOT] NULL
//               a [NOT] LIKE 'p%' [ESCAPE '!']   a [NOT] ILIKE 'p_'
//   a, b, c     a column (in quotation marks unless it is a plain word), a number, a 'text', FID (the
//               number of the record), NULL, and + - * / % of numbers
//
// Texts compare without regard to case, but for LIKE. A comparison with NULL does not hold, so its NOT
// does: "NOT CMV > 3" keeps the rows whose CMV is missing.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace qmx_study {

struct filter_value {
    bool is_null = true;
    double number = 0; // of a number
    std::string text;  // of a text
};

enum class filter_type : std::uint8_t { number, text, null };

class filter_expression {
public:
    struct column {
        int index; // -1 where there is none of that name
        bool is_number;
    };
    static constexpr int record_number = -2; // the index that stands for FID

    // Throws usage_error with what is wrong, and with nothing about the file.
    filter_expression(std::string_view text,
                      const std::function<column(std::string_view)>& column_named);

    // value_of: the value of a column, or of record_number, in the row at hand. It is asked once for
    // each mention.
    bool holds(const std::function<filter_value(int)>& value_of) const;

    const std::vector<int>& columns() const { return used; } // ascending, each once

    enum class operation : std::uint8_t {
        constant,
        column,
        negative,
        plus,
        minus,
        times,
        divided,
        remainder, // values
        equal,
        unequal,
        less,
        less_equal,
        greater,
        greater_equal, // conditions from here on
        in,
        between,
        like,
        ilike,
        is_null,
        negation,
        conjunction,
        disjunction
    };
    struct node {
        operation what;
        filter_type type = filter_type::number; // of a value
        filter_value constant;
        int column = -1;
        char escape = '\0'; // of LIKE
        std::vector<node> operands;
        bool is_condition() const { return what >= operation::equal; }
    };

private:
    node root;
    std::vector<int> used;
};

} // namespace qmx_study
