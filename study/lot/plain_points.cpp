#include "study/lot/plain_points.hpp"

#include <cmath>
#include <limits>

namespace qmx_study {

void append_plain_points(lot& points, const plain_row_block& block, const number_places& places,
                         int value, std::int32_t pass_unless_read) {
    constexpr double none = std::numeric_limits<double>::quiet_NaN();
    const auto at = [](const double* row, int place) { return place < 0 ? none : row[place]; };
    const auto count = static_cast<std::size_t>(block.rows);
    std::size_t place = points.points.size();
    points.points.resize(place + count);
    points.records.append(block.first_record, count);
    const double* row = block.numbers;
    for (std::int64_t i = 0; i < block.rows; ++i, row += block.width) {
        t_icdata& point = points.points[place++];
        point.d_x = at(row, places.x);
        point.d_y = at(row, places.y);
        point.d_val = at(row, value);
        point.i_passno =
            places.pass < 0 ? pass_unless_read : static_cast<std::int32_t>(row[places.pass]);
    }
}

void take_plain_values(value_column& column, const plain_row_block& block, int place) {
    const double* number = block.numbers + place;
    std::int64_t empty = 0, first_empty = 0;
    for (std::int64_t i = 0; i < block.rows; ++i, number += block.width) {
        if (!std::isnan(*number)) continue;
        if (empty++ == 0) first_empty = block.first_record + i;
    }
    column.take_all(block.rows, empty, first_empty);
}

std::size_t likely_value(const column_choice& choice, const row_survey& survey) {
    for (std::size_t k = 0; k < choice.values.size(); ++k) {
        const surveyed_column& column =
            survey.columns[static_cast<std::size_t>(choice.values[k].index)];
        if (column.filled > 0 && column.filled >= column.missing) return k;
    }
    return 0;
}

} // namespace qmx_study
