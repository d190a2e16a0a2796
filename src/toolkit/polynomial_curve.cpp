#include "toolkit/polynomial_curve.hpp"

#include "base/elementary_functions.hpp"
#include "events/event.hpp"
#include "numeric/polynomial/polynomial_fit.hpp"
#include "toolkit/outcome.hpp"

#include <algorithm>
#include <cmath>

namespace qmx {

namespace {

constexpr routine_text self("polycurvfit");

constexpr i32 code_fit = 102;

static_assert(fit_statistics == numeric::fit_statistics);

// Appends this routine to the path that stood before, instead of starting a new one.
i32 fail_keeping_path(std::string_view description, i32 code) {
    current_event.c_description.assign(description);
    current_event.i_errcode = code;
    current_event.i_errtype = severity_failed;
    return pass_up(self);
}

i32 chosen_degree(i64 points) {
    if (points == 0) return 0;
    return points <= 10 ? static_cast<i32>(std::max<i64>(points - 2, 1)) : 8;
}

// The range of the numbers, passing over NaN. Without any number it is empty.
template <class Real> numeric::value_extent range_of(const array_view<const Real>& x) {
    constexpr f64 huge = std::numeric_limits<f64>::max();
    constexpr Real infinity = std::numeric_limits<Real>::infinity();
    Real lowest = infinity, highest = -infinity;
    for (i64 i = 1; i <= x.extent; ++i) {
        if (std::isnan(x(i))) continue;
        lowest = std::min(lowest, x(i));
        highest = std::max(highest, x(i));
    }
    if (lowest > highest) return {huge, -huge};
    return {f64{lowest}, f64{highest}};
}

void fill_grid(const numeric::value_extent& range, const array_view<f64>& x) {
    const f64 step = (range.highest - range.lowest) / static_cast<f64>(x.extent - 1);
    for (i64 i = 0; i < x.extent; ++i) x(i + 1) = static_cast<f64>(i) * step + range.lowest;
}

void copy_results(const fitted_polynomial& fitted, const array_view<f64>* coefficients,
                  const array_view<f64>* statistics) {
    if (!fitted.is_written) return;
    if (coefficients != nullptr)
        for (i32 k = 0; k <= fitted.degree; ++k) (*coefficients)(k + 1) = fitted.coefficient[k];
    if (statistics != nullptr)
        for (i32 k = 0; k < fit_statistics; ++k) (*statistics)(k + 1) = fitted.statistics[k];
}

template <class Real>
i32 fit_any(const array_view<const Real>& x, const array_view<const Real>& y, const i32* i_degree,
            fitted_polynomial& fitted, numeric::value_extent* x_extent = nullptr) {
    fitted = {};
    numeric::ERSET(0, 0, 0);
    if (i_degree == nullptr && x.extent == 1)
        return fail_keeping_path("cannot do curve with one point", code_check);
    fitted.degree = i_degree != nullptr ? *i_degree : chosen_degree(x.extent);
    // Refused before the fit, which might need too much memory.
    if (fitted.degree > highest_degree)
        return fail_keeping_path("degrees of polynomial exceeds 9", code_fit);

    numeric::DRCURV(x, y, view_of(fitted.coefficient, i64{fitted.degree} + 1), {},
                    view_of(fitted.statistics, fit_statistics), x_extent);
    if (ran_out_of_memory(numeric::curve_storage_code)) return fail_out_of_memory(self);
    fitted.is_written = true;
    if (fitted.statistics[9] > 0.0) return fail_keeping_path("x or y data contains NaN", code_fit);
    return outcome_of(self, "error calling imsl drcurv");
}

template <class Real>
i32 curve_through(const array_view<const Real>& x_xdata, const array_view<const Real>& x_ydata,
                  const array_view<f64>& x_xcurve, const array_view<f64>& x_ycurve,
                  const f64* x_ylower, const f64* x_yupper, const i32* i_degree,
                  const array_view<f64>* x_coef, const array_view<f64>* x_stat) {
    for (i64 i = 1; i <= x_ycurve.extent; ++i) x_ycurve(i) = 0.0;
    fitted_polynomial fitted;
    numeric::value_extent range;
    const i32 outcome = fit_any(x_xdata, x_ydata, i_degree, fitted, &range);
    copy_results(fitted, x_coef, x_stat);
    if (outcome != status_success) return outcome;
    if (!range.is_known()) range = range_of(x_xdata); // nothing was fitted
    fill_grid(range, x_xcurve);
    evaluate_polynomial(fitted, x_xcurve, x_ycurve, x_ylower, x_yupper);
    return status_success;
}

} // namespace

i32 fit_polynomial(const array_view<const f64>& x, const array_view<const f64>& y,
                   const i32* i_degree, fitted_polynomial& fitted) {
    return fit_any(x, y, i_degree, fitted);
}

void evaluate_polynomial(const fitted_polynomial& fitted, const array_view<const f64>& x,
                         const array_view<f64>& y, const f64* lower, const f64* upper) {
    for (i64 i = 1; i <= x.extent; ++i) {
        f64 ordinate = 0.0;
        whole_powers powers(x(i));
        for (i32 k = 0; k <= fitted.degree; ++k) ordinate += fitted.coefficient[k] * powers.next();
        if (lower != nullptr && ordinate < *lower) ordinate = *lower;
        if (upper != nullptr && ordinate > *upper) ordinate = *upper;
        y(i) = ordinate;
    }
}

i32 polycurvfit(const array_view<const f64>& x_xdata, const array_view<const f64>& x_ydata,
                const array_view<f64>& x_xcurve, const array_view<f64>& x_ycurve,
                const f64* x_ylower, const f64* x_yupper, const i32* i_degree,
                const array_view<f64>* x_coef, const array_view<f64>* x_stat) {
    return curve_through(x_xdata, x_ydata, x_xcurve, x_ycurve, x_ylower, x_yupper, i_degree, x_coef,
                         x_stat);
}

i32 polycurvfit(const array_view<const f32>& x_xdata, const array_view<const f32>& x_ydata,
                const array_view<f64>& x_xcurve, const array_view<f64>& x_ycurve,
                const f64* x_ylower, const f64* x_yupper, const i32* i_degree,
                const array_view<f64>* x_coef, const array_view<f64>* x_stat) {
    return curve_through(x_xdata, x_ydata, x_xcurve, x_ycurve, x_ylower, x_yupper, i_degree, x_coef,
                         x_stat);
}

} // namespace qmx
