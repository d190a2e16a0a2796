#include "numeric/polynomial/power_basis.hpp"

#include "base/work_array.hpp"
#include "numeric/errors/numeric_frame.hpp"

#include <algorithm>

namespace qmx::numeric {

namespace {

void analyse_variance(const orthogonal_fit& fit, const orthogonal_term* terms, f64* table) {
    double_double explained;
    for (i32 k = 1; k <= fit.degree; ++k) explained = explained + terms[k].explained;
    const auto in_units = [&](f64 sum) { return std::ldexp(sum, 2 * fit.y_exponent); };
    variance_sources sources;
    sources.regression_degrees = fit.degree;
    sources.error_degrees = fit.observations - fit.degree - 1;
    sources.regression_sum = in_units(fit.is_perfect ? fit.total.high : explained.high);
    sources.error_sum = in_units(fit.error.high);
    sources.mean = std::ldexp(terms[0].coefficient.high, fit.y_exponent);
    fill_variance_table(sources, table);
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

f64 expand(const orthogonal_fit& fit, const orthogonal_term* terms, expansion* power, f64* B) {
    power[0].now = {1.0};
    for (i32 k = 0; k <= fit.degree; ++k) {
        for (i32 j = 0; j <= k; ++j) {
            const double_double part = terms[k].coefficient * power[j].now;
            power[j].sum = power[j].sum + part;
            power[j].magnitude += std::abs(part.high);
        }
        if (k < fit.degree) step(k, terms[k], fit, power);
    }
    f64 amplification = 1.0;
    for (i32 j = 0; j <= fit.degree; ++j) {
        B[j] = std::ldexp(power[j].sum.high, fit.y_exponent);
        if (power[j].magnitude > 0.0)
            amplification =
                std::max(amplification, power[j].magnitude / std::abs(power[j].sum.high));
    }
    return amplification;
}

} // namespace

bool DR2TAP(const orthogonal_fit& fit, const orthogonal_term* TERMS, power_analysis& analysis,
            f64* B) {
    const numeric_frame frame("DR2TAP ");
    const work_array<expansion> power(fit.degree + 1, expansion());
    if (!power) return false;
    analyse_variance(fit, TERMS, analysis.variance);
    analysis.amplification = expand(fit, TERMS, power.data(), B);
    return true;
}

} // namespace qmx::numeric
