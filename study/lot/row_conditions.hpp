// The filters of a lot applied to its rows one by one, and the account of what they leave out.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "study/lot/lot_reader.hpp"

namespace qmx_study {

class row_conditions {
public:
    // Throws usage_error: a filter that is not sound, or one on a column that is not there.
    row_conditions(const lot_conditions& wanted, const table_source& source,
                   const row_survey& survey);
    row_conditions(const row_conditions&) = delete;
    row_conditions& operator=(const row_conditions&) = delete;

    // Of the present row: whether it satisfies all filters but those on the value and the place. A row
    // whose field is missing or not understood satisfies none.
    bool hold(const table_source& row);
    bool hold_for(double value); // the same for the filter on the value; a NaN is a missing one
    // Throws usage_error where the value is filtered and no column of it was found.
    void refuse_without(const used_column& value) const;

    std::vector<int> columns() const; // that hold() looks at
    const std::vector<filtered_rows>& accounts() const { return left_out; }

private:
    enum class fate { satisfied, unsatisfied, lacking };
    struct condition {
        trait which;
        std::size_t account; // of left_out
    };

    const table_source& source;
    const row_survey& survey;
    lot_filters filters;
    trait_columns traits;
    std::vector<filtered_rows> left_out;
    std::vector<condition> conditions;
    std::size_t value_account = 0;
    std::int64_t first_moment = 0, last_moment = 0;

    fate fate_of(const table_source& row, trait which) const;
    fate fate_of_time(const table_source& row) const;
    bool count(std::size_t account, fate of_row);
};

} // namespace qmx_study
