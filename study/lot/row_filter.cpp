#include "study/lot/row_filter.hpp"

#include <algorithm>

#include <fmt/format.h>

#include "study/base/errors.hpp"

namespace qmx_study {

std::string where_hint(const std::string& column, const std::string& condition) {
    const auto is_of_word = [](char c) {
        return c == '_' || (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') ||
               (c >= 'A' && c <= 'Z');
    };
    const bool is_word = !column.empty() && !(column[0] >= '0' && column[0] <= '9') &&
                         std::all_of(column.begin(), column.end(), is_of_word);
    return is_word ? fmt::format("--where \"{} {}\"", column, condition)
                   : fmt::format("--where '\"{}\" {}'", column, condition);
}

row_filter::row_filter(const std::string& expression, const table_source& source,
                       const row_survey& learned)
    : survey(learned) {
    if (expression.empty()) return;
    for (std::size_t j = 0; j < source.columns.size(); ++j) {
        const source_column& column = source.columns[j];
        const column_content content = survey.columns[j].content;
        const bool holds_numbers =
            content == column_content::numbers || content == column_content::labelled_numbers;
        is_number.push_back(column.is_numeric() || (column.is_text() && holds_numbers));
    }
    try {
        condition.emplace(expression, [&](std::string_view name) {
            const int index = source.column_chosen(name);
            return filter_expression::column{index, index >= 0 &&
                                                        is_number[static_cast<std::size_t>(index)]};
        });
    } catch (const usage_error& error) {
        throw usage_error(
            fmt::format("--where \"{}\": the filter is not understood: {}\n"
                        "  columns of {}: {}\n"
                        "  write it like: \"PassCount\" >= 2 AND \"VibeState\" = 'On'",
                        expression, error.what(), source.file, source.column_list()),
            {"--where", source.file, 0, {}});
    }
}

std::vector<int> row_filter::columns() const {
    return condition ? condition->columns() : std::vector<int>();
}

bool row_filter::passes(const table_source& row) const {
    if (!condition) return true;
    return condition->holds([&](int column) -> filter_value {
        if (column == filter_expression::record_number)
            return {false, static_cast<double>(row.record()), {}};
        const text_value field = survey.read(row, column);
        if (field.kind == text_kind::missing) return {};
        if (!is_number[static_cast<std::size_t>(column)])
            return {false, 0, std::string(trimmed(row.text(column)))};
        if (field.kind == text_kind::not_a_number) return {};
        return {false, field.value, {}};
    });
}

} // namespace qmx_study
