// The attribute filter of --where: numbers compare as numbers whatever the file holds them in.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "study/lot/filter_expression.hpp"
#include "study/lot/row_survey.hpp"
#include "study/table/table_source.hpp"

namespace qmx_study {

// The option that keeps the rows whose column satisfies a condition, as one writes it in a shell:
// --where "PassCount >= 2"; a name that is no plain word stands in quotation marks of its own.
std::string where_hint(const std::string& column, const std::string& condition);

class row_filter {
public:
    // A column whose fields are numbers (units inside them stripped) compares as numbers; a missing
    // field is NULL, and so is a field of such a column that is no number. Throws usage_error when the
    // expression cannot be read. An empty expression lets every row pass.
    row_filter(const std::string& expression, const table_source& source, const row_survey& survey);
    row_filter(const row_filter&) = delete;
    row_filter& operator=(const row_filter&) = delete;

    bool passes(const table_source& row) const;
    std::vector<int> columns() const; // that it looks at

private:
    const row_survey& survey;
    std::vector<bool> is_number; // of the columns
    std::optional<filter_expression> condition;
};

} // namespace qmx_study
