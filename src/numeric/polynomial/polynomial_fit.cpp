#include "numeric/polynomial/polynomial_fit.hpp"

#include "base/work_array.hpp"
#include "numeric/arithmetic/guarded.hpp"
#include "numeric/arithmetic/machine.hpp"
#include "numeric/errors/numeric_frame.hpp"
#include "numeric/polynomial/packed_array.hpp"
#include "numeric/polynomial/power_basis.hpp"

#include <algorithm>

namespace qmx::numeric {

namespace {

// A fit in f64 is good to some 15 digits, of which the expansion into powers loses as many as its
// amplification has. Beyond this amplification the fit is repeated in double-double, up to a number
// of observations that keeps it quick.
constexpr f64 tolerable_amplification = 1e4;
constexpr i32 quickly_refined = 8192; // observations

enum class next_step { stop, go_on };

void clear_error() {
    post(type_none, 0, " ");
}

// Replaces an error of the orthogonal fit by the caller's own.
next_step translate_error(i32 NDEG, i32 degree) {
    const i32 type = N1RTY(1);
    const i32 code = N1RCD(1);
    if (type == type_terminal) return next_step::stop;
    if (type == type_fatal) {
        if (code == 3)
            post(type_fatal, 3,
                 "There are no valid data points.  Each (x,y) pair contains NaN (not a number).");
        else
            post(type_fatal, 7,
                 "The x values are constant.  At least two distinct x values are needed.");
        return next_step::stop;
    }
    if (type == type_warning) {
        if (code == 4)
            post(type_warning, 4,
                 "The y values are constant.  A zero order polynomial is fit.  High order "
                 "coefficients are set to zero.");
        if (code == 6) {
            E1STI(1, NDEG);
            E1STI(2, degree);
            post(type_warning, 6,
                 "A perfect fit was obtained with a polynomial of lower degree (=%(I2)) than NDEG "
                 "= %(I1) as requested.");
        }
    }
    return next_step::go_on;
}

void post_storage_error(i32 NOBS, i32 NDEG) {
    E1STI(1, NOBS);
    E1STI(2, NDEG);
    post(type_terminal, curve_storage_code,
         "The required storage cannot be allocated based on NOBS = %(I1) and NDEG = %(I2).");
}

void fill_sums_of_squares(const orthogonal_fit& fit, const orthogonal_term* terms, i32 NDEG,
                          f64* SSPOLY) {
    const auto in_units = [&](f64 sum) { return std::ldexp(sum, 2 * fit.y_exponent); };
    const double_double mean = terms[0].coefficient;
    SSPOLY[0] = in_units((mean * mean * terms[0].norm).high);
    std::fill_n(SSPOLY + 1, NDEG, 0.0);
    for (i32 k = 1; k <= fit.degree; ++k) SSPOLY[k] = in_units(terms[k].explained.high);
}

void fill_statistics(const orthogonal_fit& fit, const orthogonal_term* terms, const f64* variance,
                     f64* STAT) {
    const f64 freedom = static_cast<f64>(fit.observations) - 1.0;
    STAT[0] = DMACH(6);
    STAT[2] = DMACH(6);
    if (fit.degree > 0) {
        // Scaled x is multiplier * x + offset.
        const double_double offset = -exact_product(fit.multiplier, fit.center);
        STAT[0] = guarded_quotient((terms[0].shift - offset).high, fit.multiplier);
        const double_double square = exact_product(fit.multiplier, fit.multiplier);
        STAT[2] = guarded_quotient((terms[1].norm / square).high, freedom);
    }
    STAT[1] = variance[13];
    STAT[3] = guarded_quotient(variance[5], freedom);
    STAT[4] = variance[10];
    STAT[5] = variance[0];
    STAT[6] = variance[3];
    STAT[7] = variance[1];
    STAT[8] = variance[4];
    STAT[9] = static_cast<f64>(fit.missing);
}

template <class Real>
void fit_views(const array_view<const Real>& XDATA, const array_view<const Real>& YDATA,
               const array_view<f64>& B, const array_view<f64>& SSPOLY, const array_view<f64>& STAT,
               value_extent* x_extent) {
    const i32 NOBS = static_cast<i32>(XDATA.extent);
    const i32 NDEG = static_cast<i32>(B.extent) - 1;
    const packed_array<const Real> x(XDATA);
    const packed_array<const Real> y(YDATA);
    const packed_array<f64> coefficients(B);
    const work_array<f64> unasked_sums(SSPOLY.extent > 0 ? 0 : B.extent);
    const packed_array<f64> sums(SSPOLY.extent > 0 ? SSPOLY : unasked_sums.view());
    f64 unasked_statistics[fit_statistics];
    const packed_array<f64> statistics(
        STAT.extent > 0 ? STAT : array_view<f64>(unasked_statistics, fit_statistics));
    if (!x || !y || !coefficients || !unasked_sums || !sums || !statistics) {
        const numeric_frame frame("DRCURV ");
        post_storage_error(NOBS, NDEG);
        return;
    }
    DRCURV(NOBS, x.data(), y.data(), NDEG, coefficients.data(), sums.data(), statistics.data(),
           x_extent);
    coefficients.store_back();
    sums.store_back();
    statistics.store_back();
}

} // namespace

bool DR2URV(const i32& NOBS, const column_read_as<f64>& XDATA, const column_read_as<f64>& YDATA,
            const i32& NDEG, f64* B, f64* SSPOLY, f64* STAT, value_extent* x_extent) {
    const numeric_frame frame("DR2URV ");
    const work_array<orthogonal_term> terms(i64{reachable_degree(NOBS, NDEG)} + 1);
    const work_array<f64> powers(terms.size());
    const work_array<f64> refined_powers(terms.size());
    if (!terms || !powers || !refined_powers) return false;

    orthogonal_fit fit;
    fit.powers = refined_powers.data();
    power_analysis analysis;
    if (!DR2ORP(NOBS, XDATA, YDATA, NDEG, precision::as_needed, fit, terms.data())) return false;
    if (x_extent != nullptr && fit.observations > 0) *x_extent = fit.x_extent;
    if (translate_error(NDEG, fit.degree) == next_step::stop) return true;
    if (!DR2TAP(fit, terms.data(), analysis, powers.data())) return false;
    const bool wants_refinement = !fit.is_refined && fit.observations <= quickly_refined &&
                                  analysis.amplification > tolerable_amplification;
    if (wants_refinement) {
        clear_error();
        if (!DR2ORP(NOBS, XDATA, YDATA, NDEG, precision::refined, fit, terms.data())) return false;
        if (translate_error(NDEG, fit.degree) == next_step::stop) return true;
        if (!DR2TAP(fit, terms.data(), analysis, powers.data())) return false;
    }

    fill_sums_of_squares(fit, terms.data(), NDEG, SSPOLY);
    std::fill_n(std::copy_n(powers.data(), fit.degree + 1, B), NDEG - fit.degree, 0.0);
    fill_statistics(fit, terms.data(), analysis.variance, STAT);
    return true;
}

void DRCURV(const i32& NOBS, const column_read_as<f64>& XDATA, const column_read_as<f64>& YDATA,
            const i32& NDEG, f64* B, f64* SSPOLY, f64* STAT, value_extent* x_extent) {
    const numeric_frame frame("DRCURV ");
    if (NOBS < 1) {
        E1STI(1, NOBS);
        post(type_terminal, 1,
             "The number of observations must be at least 1 while NOBS = %(I1) is given.");
    } else if (NDEG < 0) {
        E1STI(1, NDEG);
        post(type_terminal, 2,
             "NDEG = %(I1).  The degree of the polynomial to be fit must be greater than or equal "
             "to 0.");
    } else if (!DR2URV(NOBS, XDATA, YDATA, NDEG, B, SSPOLY, STAT, x_extent)) {
        post_storage_error(NOBS, NDEG);
    }
}

void DRCURV(const array_view<const f64>& XDATA, const array_view<const f64>& YDATA,
            const array_view<f64>& B, const array_view<f64>& SSPOLY, const array_view<f64>& STAT,
            value_extent* x_extent) {
    fit_views(XDATA, YDATA, B, SSPOLY, STAT, x_extent);
}

void DRCURV(const array_view<const f32>& XDATA, const array_view<const f32>& YDATA,
            const array_view<f64>& B, const array_view<f64>& SSPOLY, const array_view<f64>& STAT,
            value_extent* x_extent) {
    fit_views(XDATA, YDATA, B, SSPOLY, STAT, x_extent);
}

} // namespace qmx::numeric
