#include "numeric/regression/coefficient_table.hpp"

#include "numeric/arithmetic/guarded.hpp"
#include "numeric/regression/variance_table.hpp"

#include <cmath>

namespace qmx::numeric {

namespace {

constexpr f64 nan = std::numeric_limits<f64>::quiet_NaN();

struct coefficient {
    f64 estimate;
    f64 standard_error;
    f64 inflation;
};

void write_row(const coefficient& b, f64 error_degrees, f64* COEF, i64 row, i64 leading) {
    const f64 t = guarded_quotient(b.estimate, b.standard_error);
    COEF[row] = b.estimate;
    COEF[row + leading] = b.standard_error;
    COEF[row + 2 * leading] = t;
    COEF[row + 3 * leading] = two_sided_probability_of_t(t, error_degrees);
    COEF[row + 4 * leading] = b.inflation;
}

// Fills the table in the units of the fit, the mean in those of the standard deviation, and
// converts the entries that have a unit into the caller's.
void write_variances(const line_fit& fit, f64* AOV) {
    const i32 deviation_unit = fit.units.y + fit.units.weight / 2;
    fill_variance_table({fit.regression_degrees(), fit.error_degrees(), fit.regression_sum,
                         fit.error_sum, std::ldexp(fit.response_mean, -fit.units.weight / 2)},
                        AOV);
    for (i32 entry = 3; entry < 8; ++entry) AOV[entry] = std::ldexp(AOV[entry], 2 * deviation_unit);
    AOV[12] = std::ldexp(AOV[12], deviation_unit);
    AOV[13] = std::ldexp(AOV[13], deviation_unit);
}

} // namespace

f64 error_mean_square(const line_fit& fit) {
    return guarded_quotient(fit.error_sum, fit.error_degrees());
}

void DRSTAT(const line_fit& fit, f64* AOV, f64* COEF, i32 LDCOEF, f64* COVB, i32 LDCOVB) {
    write_variances(fit, AOV);

    const f64 mean_square = error_mean_square(fit);
    const f64 deviation = std::sqrt(mean_square);
    const i32 unit = fit.units.y, slope_unit = fit.units.y - fit.units.x;
    const bool infers_slope = fit.slope_estimated;
    const i64 slope_row = fit.has_intercept;

    const f64 slope_factor = infers_slope ? 1.0 / (fit.r22 * fit.r22) : nan;
    write_row({std::ldexp(fit.slope.high, slope_unit),
               std::ldexp(deviation * std::sqrt(slope_factor), slope_unit),
               infers_slope ? 1.0 : nan}, // the model has no other regressor
              fit.error_degrees(), COEF, slope_row, LDCOEF);
    COVB[slope_row + slope_row * LDCOVB] = std::ldexp(mean_square * slope_factor, 2 * slope_unit);
    if (!fit.has_intercept) return;

    const f64 factor = fit.constant_estimated ? variance_factor_at(fit, 0.0) : nan;
    write_row({std::ldexp(value_at(fit, 0.0), unit),
               std::ldexp(deviation * std::sqrt(factor), unit), factor * (fit.r11 * fit.r11)},
              fit.error_degrees(), COEF, 0, LDCOEF);
    const f64 joint_factor = (-fit.x_center - fit.r12 / fit.r11) * slope_factor;
    COVB[0] = std::ldexp(mean_square * factor, 2 * unit);
    COVB[1] = COVB[LDCOVB] = std::ldexp(mean_square * joint_factor, unit + slope_unit);
}

} // namespace qmx::numeric
