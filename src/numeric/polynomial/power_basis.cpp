#include "numeric/polynomial/power_basis.hpp"

#include "base/work_array.hpp"
#include "numeric/errors/numeric_frame.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

namespace qmx::numeric {

namespace {

void analyse_variance(const orthogonal_fit& fit, const orthogonal_term* terms, f64* table) {
    double_double explained;
    for (i32 k = 1; k <= fit.degree; ++k) explained = explained + terms[k].explained;
    variance_sources sources;
    sources.regression_degrees = fit.degree;
    sources.error_degrees = fit.observations - fit.degree - 1;
    sources.regression_sum = fit.is_perfect ? fit.total.high : explained.high;
    sources.error_sum = fit.error.high;
    // With infinite abscissas nothing is known of the parts, only of their total.
    const bool is_undefined = std::isnan(explained.high);
    if (is_undefined)
        sources.regression_sum = sources.error_sum = std::numeric_limits<f64>::quiet_NaN();
    sources.mean = terms[0].coefficient.high;
    // In units of the fit, whose squares cannot overflow; what carries a unit is then converted.
    fill_variance_table(sources, table);
    if (is_undefined) table[5] = fit.total.high;
    for (i32 entry = 3; entry < 8; ++entry)
        table[entry] = std::ldexp(table[entry], 2 * fit.y_exponent);
    for (const i32 entry : {12, 13}) table[entry] = std::ldexp(table[entry], fit.y_exponent);
}

// Coefficients of one power of x in p(k), in p(k-1) and in the sum so far.
struct expansion {
    double_double now, before, sum;
    f64 magnitude = 0.0; // of the terms of the sum
};

// p(k+1) from p(k) and p(k-1), as polynomials in x.
void step(i32 k, const orthogonal_term& term, const orthogonal_fit& fit, expansion* power) {
    const double_double slope{fit.multiplier};
    const double_double shift = exact_product(fit.multiplier, fit.center) + term.shift;
    for (i32 j = k + 1; j >= 0; --j) {
        double_double next = -(shift * power[j].now) - term.ratio * power[j].before;
        if (j > 0) next = next + slope * power[j - 1].now;
        power[j].before = power[j].now;
        power[j].now = next;
    }
}

} // namespace

bool expand_into_powers(const orthogonal_fit& fit, const orthogonal_term* terms, f64* B,
                        f64& amplification) {
    const work_array<expansion> power(fit.degree + 1, expansion());
    if (!power) return false;
    power[0].now = {1.0};
    for (i32 k = 0; k <= fit.degree; ++k) {
        for (i32 j = 0; j <= k; ++j) {
            const double_double part = terms[k].coefficient * power[j].now;
            power[j].sum = power[j].sum + part;
            power[j].magnitude += std::abs(part.high);
        }
        if (k < fit.degree) step(k, terms[k], fit, power.data());
    }
    amplification = 1.0;
    for (i32 j = 0; j <= fit.degree; ++j) {
        B[j] = std::ldexp(power[j].sum.high, fit.y_exponent);
        if (power[j].magnitude > 0.0)
            amplification =
                std::max(amplification, power[j].magnitude / std::abs(power[j].sum.high));
    }
    return true;
}

bool DR2TAP(const orthogonal_fit& fit, const orthogonal_term* TERMS, power_analysis& analysis,
            f64* B) {
    const numeric_frame frame("DR2TAP ");
    analyse_variance(fit, TERMS, analysis.variance);
    if (fit.amplification == 0.0) return expand_into_powers(fit, TERMS, B, analysis.amplification);
    std::copy_n(fit.powers, fit.degree + 1, B);
    analysis.amplification = fit.amplification;
    return true;
}

} // namespace qmx::numeric
