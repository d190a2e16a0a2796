#include "numeric/regression/regression_rows.hpp"

#include <algorithm>
#include <cmath>

namespace qmx::numeric {

namespace {

// Largest binary exponent among values other than 0.
struct greatest_exponent {
    f64 magnitude = 0.0;

    void take(f64 value) { magnitude = std::max(magnitude, std::abs(value)); }
    i32 value() const {
        return magnitude > 0.0 && std::isfinite(magnitude) ? std::ilogb(magnitude) : 0;
    }
};

bool is_finite(const model_row& row) {
    return std::isfinite(row.x) && std::isfinite(row.y) && std::isfinite(row.frequency) &&
           std::isfinite(row.weight);
}

} // namespace

bool model_row::has_missing_value() const {
    return std::isnan(x) || std::isnan(y) || std::isnan(frequency) || std::isnan(weight);
}

bool model_row::takes_part() const {
    return !has_missing_value() && frequency > 0.0 && weight > 0.0;
}

model_row row_of(const model_columns& columns, i64 row) {
    return {columns.at(row, columns.independent), columns.at(row, columns.response),
            columns.at(row, columns.frequency), columns.at(row, columns.weight)};
}

row_defect collect_rows(const model_columns& columns, regression_rows& rows, i32& missing,
                        i32& defective_row) {
    missing = 0;
    greatest_exponent x, y, frequency, weight;
    for (i64 i = 0; i < columns.row_count; ++i) {
        const model_row row = row_of(columns, i);
        if (row.has_missing_value()) {
            ++missing;
            continue;
        }
        defective_row = static_cast<i32>(i) + 1;
        if (row.frequency < 0.0) return row_defect::negative_frequency;
        if (row.weight < 0.0) return row_defect::negative_weight;
        if (!row.takes_part()) continue;
        x.take(row.x);
        y.take(row.y);
        frequency.take(row.frequency);
        weight.take(row.weight);
        rows.finite &= is_finite(row);
    }
    const i32 greatest_weight = frequency.value() + weight.value();
    rows.units = {x.value(), y.value(), greatest_weight - greatest_weight % 2};

    for (i64 i = 0; i < columns.row_count; ++i) {
        const model_row row = row_of(columns, i);
        if (!row.takes_part()) continue;
        const i64 k = rows.count++;
        rows.x[k] = std::ldexp(row.x, -rows.units.x);
        rows.y[k] = std::ldexp(row.y, -rows.units.y);
        // Each factor is scaled alone, as the product may overflow or underflow.
        const i32 frequency_unit = frequency.value();
        rows.weight[k] = std::ldexp(row.frequency, -frequency_unit) *
                         std::ldexp(row.weight, frequency_unit - rows.units.weight);
        rows.frequency[k] = row.frequency;
        rows.observations += row.frequency;
    }
    return row_defect::none;
}

} // namespace qmx::numeric
