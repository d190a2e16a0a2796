#include "numeric/regression/case_statistics.hpp"

#include "numeric/arithmetic/guarded.hpp"
#include "numeric/arithmetic/machine.hpp"
#include "numeric/distributions/distributions.hpp"
#include "numeric/regression/coefficient_table.hpp"

#include <algorithm>
#include <cmath>

namespace qmx::numeric {

namespace {

constexpr f64 nan = std::numeric_limits<f64>::quiet_NaN();

struct influence {
    f64 leverage = nan;
    f64 standardized = nan;
    f64 studentized = nan; // externally
    f64 cooks_distance = nan;
    f64 dffits = nan;
};

influence influence_of(const line_fit& fit, f64 deviation, f64 weight, f64 factor, f64 residual) {
    const f64 d = fit.error_degrees();
    influence found;
    found.leverage = std::min(weight * factor, 1.0);
    const f64 h = found.leverage, others = 1.0 - h;
    if (!(others > 100.0 * DMACH(4))) return found;
    const f64 r = guarded_quotient(residual * std::sqrt(weight), deviation * std::sqrt(others));
    found.standardized = r;
    found.cooks_distance = guarded_quotient(r * r * h, fit.rank() * others);
    if (d > 1.0)
        found.studentized = r * std::sqrt(guarded_quotient(d - 1.0, std::max(d - r * r, 0.0)));
    found.dffits = found.studentized * std::sqrt(h / others);
    return found;
}

// By the lower tail, whose probability does not round for a confidence near 100.
f64 quantile_for(f64 confidence_percent, f64 degrees) {
    const bool has_quantile = degrees >= 1.0 && std::isfinite(degrees);
    return has_quantile ? -DTIN((100.0 - confidence_percent) / 200.0, degrees) : nan;
}

} // namespace

void fill_case_statistics(const line_fit& fit, const model_columns& columns,
                          f64 mean_confidence_percent, f64 prediction_confidence_percent, f64* CASE,
                          i32 LDCASE) {
    const f64 deviation = std::sqrt(error_mean_square(fit));
    const f64 mean_quantile = quantile_for(mean_confidence_percent, fit.error_degrees());
    const f64 prediction_quantile =
        quantile_for(prediction_confidence_percent, fit.error_degrees());
    const i32 unit = fit.units.y;
    for (i64 i = 0; i < columns.row_count; ++i) {
        const model_row row = row_of(columns, i);
        const f64 x = std::ldexp(row.x, -fit.units.x);
        const f64 y = std::ldexp(row.y, -unit);
        const f64 weight = std::ldexp(row.weight, -fit.units.weight);
        const f64 responses = weight * columns.at(i, columns.future_responses);

        const f64 predicted = value_at(fit, x);
        const f64 residual = residual_at(fit, x, y);
        const f64 factor = variance_factor_at(fit, x);
        const influence own =
            row.takes_part() ? influence_of(fit, deviation, weight, factor, residual) : influence();
        const f64 mean_margin = mean_quantile * (deviation * std::sqrt(factor));
        const f64 prediction_margin =
            prediction_quantile *
            (deviation * std::sqrt(guarded_quotient(1.0, responses) + factor));

        const f64 entries[case_columns] = {row.y,
                                           std::ldexp(predicted, unit),
                                           std::ldexp(residual, unit),
                                           own.leverage,
                                           own.standardized,
                                           own.studentized,
                                           own.cooks_distance,
                                           own.dffits,
                                           std::ldexp(predicted - mean_margin, unit),
                                           std::ldexp(predicted + mean_margin, unit),
                                           std::ldexp(predicted - prediction_margin, unit),
                                           std::ldexp(predicted + prediction_margin, unit)};
        for (i64 column = 0; column < case_columns; ++column)
            CASE[i + column * LDCASE] = entries[column];
    }
}

} // namespace qmx::numeric
