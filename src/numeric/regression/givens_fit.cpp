#include "numeric/regression/givens_fit.hpp"

#include "base/elementary_functions.hpp"
#include "blas/blas.hpp"

#include <algorithm>
#include <cmath>

namespace qmx::numeric {

namespace {

constexpr f64 nan = std::numeric_limits<f64>::quiet_NaN();

// A row whose elements are those stored times the square root of scale: first the columns of the
// model, then the response.
struct scaled_row {
    f64 scale = 0.0;
    f64 element[3] = {};
};

// Rotates the element of row in the given column to 0. A row of scale 0 is left unchanged.
void rotate_away(scaled_row& pivot, scaled_row& row, i32 column, i32 width) {
    constexpr i32 next_to_each_other = 1;
    const i32 behind = width - column - 1;
    f64 rotation[5];
    drotmg_(&pivot.scale, &row.scale, &pivot.element[column], &row.element[column], rotation);
    drotm_(&behind, pivot.element + column + 1, &next_to_each_other, row.element + column + 1,
           &next_to_each_other, rotation);
}

// The triangular factor of the weighted rows (1, x, response), or (x, response).
struct triangle {
    i32 columns;          // of the model
    scaled_row pivots[2]; // one for each of them
    double_double rest;   // residual sum of squares

    f64 element(i32 row, i32 column) const {
        return std::sqrt(pivots[row].scale) * pivots[row].element[column];
    }
};

void apply(triangle& factor, scaled_row row) {
    for (i32 k = 0; k < factor.columns; ++k)
        rotate_away(factor.pivots[k], row, k, factor.columns + 1);
    const f64 response = row.element[factor.columns];
    factor.rest = factor.rest + double_double{row.scale * (response * response)};
}

template <class Response>
triangle reduce(const regression_rows& rows, const line_fit& fit, Response response) {
    triangle factor{fit.has_intercept ? 2 : 1, {}, {}};
    for (i64 k = 0; k < rows.count; ++k) {
        const f64 x = rows.x[k] - fit.x_center;
        if (fit.has_intercept)
            apply(factor, {rows.weight[k], {1.0, x, response(k)}});
        else
            apply(factor, {rows.weight[k], {x, response(k), 0.0}});
    }
    return factor;
}

void take_factor(const triangle& factor, f64 tolerance, line_fit& fit) {
    const i32 last = factor.columns - 1;
    fit.r22 = factor.element(last, last);
    if (fit.has_intercept) {
        fit.r11 = factor.element(0, 0);
        fit.r12 = factor.element(0, 1);
    }
    fit.constant_estimated = fit.has_intercept && fit.r11 != 0.0;
    // The norm is that of x itself: r12 + r11 * x_center undoes the centering.
    const f64 norm = hypotenuse(fit.r22, fit.r12 + fit.r11 * fit.x_center);
    fit.slope_estimated = std::abs(fit.r22) > tolerance * norm;
}

// Adds the solution of the reduced system to the line. Returns the residual sum of squares.
f64 add_solution(const triangle& factor, line_fit& fit) {
    const i32 response = factor.columns;
    const scaled_row& last = factor.pivots[factor.columns - 1];
    double_double rest = factor.rest;
    f64 slope = 0.0;
    if (fit.slope_estimated)
        slope = last.element[response] / last.element[factor.columns - 1];
    else
        rest = rest + double_double{last.scale * (last.element[response] * last.element[response])};
    fit.slope = fit.slope + double_double{slope};
    if (fit.constant_estimated) {
        const scaled_row& first = factor.pivots[0];
        const f64 constant =
            (first.element[response] - first.element[1] * slope) / first.element[0];
        fit.constant = fit.constant + double_double{constant};
    }
    return rest.high;
}

// The weighted mean in double-double, clamped to the range of the values, so that the mean of equal
// values is exactly that value.
f64 mean_of(const f64* values, const f64* weights, i64 count) {
    double_double sum, weight;
    f64 lowest = std::numeric_limits<f64>::infinity(), highest = -lowest;
    for (i64 k = 0; k < count; ++k) {
        sum = sum + exact_product(values[k], weights[k]);
        weight = weight + double_double{weights[k]};
        lowest = std::min(lowest, values[k]);
        highest = std::max(highest, values[k]);
    }
    return count > 0 ? std::clamp((sum / weight).high, lowest, highest) : 0.0;
}

void leave_undefined(line_fit& fit) {
    fit.constant_estimated = fit.has_intercept;
    fit.slope_estimated = true;
    fit.constant = fit.slope = {nan, nan};
    fit.r11 = fit.r12 = fit.r22 = nan;
    fit.response_mean = fit.error_sum = fit.regression_sum = nan;
}

void find_residuals(const line_fit& fit, regression_rows& rows) {
    for (i64 k = 0; k < rows.count; ++k) rows.residual[k] = residual_at(fit, rows.x[k], rows.y[k]);
}

} // namespace

void DR2IVN(regression_rows& rows, bool has_intercept, f64 tolerance, line_fit& fit) {
    fit = {};
    fit.has_intercept = has_intercept;
    fit.units = rows.units;
    fit.observations = rows.observations;
    if (!rows.finite) {
        leave_undefined(fit);
        find_residuals(fit, rows);
        return;
    }
    fit.response_mean = mean_of(rows.y, rows.weight, rows.count);
    if (has_intercept) {
        fit.x_center = mean_of(rows.x, rows.weight, rows.count);
        fit.y_center = fit.response_mean;
    }
    const triangle first = reduce(rows, fit, [&](i64 k) { return rows.y[k] - fit.y_center; });
    take_factor(first, tolerance, fit);
    add_solution(first, fit);
    // Iterative refinement: the reduction is repeated on the residuals. The correction restores
    // what rounding lost, and the error sum of squares no longer depends on the size of the
    // responses.
    find_residuals(fit, rows);
    const triangle second = reduce(rows, fit, [&](i64 k) { return rows.residual[k]; });
    const f64 rest = add_solution(second, fit);
    find_residuals(fit, rows);
    // Without degrees of freedom the residuals are rounding errors only.
    fit.error_sum = fit.error_degrees() > 0.0 ? rest : 0.0;
    const f64 explained = fit.slope_estimated ? fit.r22 * fit.slope.high : 0.0;
    fit.regression_sum = explained * explained;
}

f64 value_at(const line_fit& fit, f64 x) {
    const double_double line = fit.constant + fit.slope * exact_sum(x, -fit.x_center);
    return (double_double{fit.y_center} + line).high;
}

f64 residual_at(const line_fit& fit, f64 x, f64 y) {
    const double_double line = fit.constant + fit.slope * exact_sum(x, -fit.x_center);
    return (exact_sum(y, -fit.y_center) - line).high;
}

f64 variance_factor_at(const line_fit& fit, f64 x) {
    f64 distance = x - fit.x_center, factor = 0.0;
    if (fit.constant_estimated) {
        factor = 1.0 / (fit.r11 * fit.r11);
        distance -= fit.r12 / fit.r11;
    }
    if (!fit.slope_estimated) return factor;
    const f64 root = distance / fit.r22;
    return factor + root * root;
}

} // namespace qmx::numeric
