#include "semivariogram/model_fit.hpp"

#include "base/elementary_functions.hpp"
#include "base/limits.hpp"
#include "base/work_array.hpp"
#include "events/event.hpp"
#include "numeric/bounded/bounded_fit.hpp"
#include "toolkit/outcome.hpp"
#include "toolkit/polynomial_curve.hpp"

#include <algorithm>
#include <bit>
#include <limits>

namespace qmx {
namespace {

enum model : i32 { exponential_model = 1, power_model = 2, polynomial_model = 3 };

constexpr i32 polynomial_degree = 2;
constexpr std::size_t table_length = most_lag_classes;
static_assert(model_curve_points == most_lag_classes); // both stand in s_xtab in turn

// Read by the residual routines and by the fit; each call sets it first.
f32 s_xtab[table_length]; // the distances, then the abscissas of the curve
f32 s_ytab[table_length]; // the semivariances
f32 s_ycurve[table_length];
i32 i_irtype;
f32 s_cmat[2]; // one row: the constraint takes X(2) alone
f32 s_cbound;
f32 s_xlb[2], s_xub[2];
f32 s_x[2];
f64 x_polycoef[polynomial_degree + 1];

void exponential_residuals(const i32& M, const i32&, const f32* X, f32* F) {
    for (i32 i = 0; i < M; ++i)
        F[i] = (1.0F - exponential((3.0F * s_xtab[i]) / -X[0])) * X[1] - s_ytab[i];
}

void power_residuals(const i32& M, const i32&, const f32* X, f32* F) {
    for (i32 i = 0; i < M; ++i) F[i] = power(s_xtab[i], X[1]) * X[0] - s_ytab[i];
}

f32 greatest_of(const array_view<const f32>& values) {
    f32 greatest = std::numeric_limits<f32>::lowest();
    for (i64 i = 1; i <= values.extent; ++i) greatest = std::max(greatest, values(i));
    return greatest;
}

f32 least_of(const array_view<const f32>& values) {
    f32 least = std::numeric_limits<f32>::max();
    for (i64 i = 1; i <= values.extent; ++i) least = std::min(least, values(i));
    return least;
}

void call_bounded_fit(numeric::residual_routine<f32> residuals, i32 count,
                      const array_view<const f32>& distances,
                      const array_view<const f32>& semivariances) {
    i_irtype = 2;
    s_cmat[0] = 0.0F;
    s_cmat[1] = 1.0F;
    s_cbound = 0.05F;
    s_xlb[0] = 1.0F;
    s_xlb[1] = 0.02F;
    s_xub[0] = s_xub[1] = greatest_of(semivariances);
    s_x[0] = 30.0F; // overwritten: the fit has no first guess and starts from its bounds
    s_x[1] = 0.2F;
    for (i32 i = 0; i < count; ++i) {
        s_xtab[i] = distances(i + 1);
        s_ytab[i] = semivariances(i + 1);
    }
    const array_view<const f32> limit(&s_cbound, 1);
    f32 norm = 0.0F;
    i32 stop = 0;
    numeric::BCNLS(residuals, count, {s_cmat, 1, 2, 1}, limit, limit, view_of(&i_irtype, 1),
                   view_of(s_xlb, 2), view_of(s_xub, 2), view_of(s_x, 2), nullptr, nullptr, nullptr,
                   nullptr, &norm, &stop);
}

// Writes the curve to s_ycurve. A failure of polycurvfit shows in the event state.
i32 fit_polynomial(const routine_text& self, const array_view<const f32>& distances,
                   const array_view<const f32>& semivariances) {
    const work_array<f64> x(distances.extent), y(semivariances.extent);
    const work_array<f64> xcurve(model_curve_points, 0.0), ycurve(model_curve_points, 0.0);
    if (!x || !y || !xcurve || !ycurve) return fail_out_of_memory(self);
    for (i64 i = 0; i < x.size(); ++i) x[i] = static_cast<f64>(distances(i + 1));
    for (i64 i = 0; i < y.size(); ++i) y[i] = static_cast<f64>(semivariances(i + 1));
    const f64 x_ylower = static_cast<f64>(least_of(semivariances));
    const f64 x_yupper = static_cast<f64>(greatest_of(semivariances));
    std::fill(x_polycoef, x_polycoef + polynomial_degree + 1, 0.0);
    const array_view<f64> coefficients = view_of(x_polycoef, polynomial_degree + 1);
    polycurvfit(x.view(), y.view(), xcurve.view(), ycurve.view(), &x_ylower, &x_yupper,
                &polynomial_degree, &coefficients);
    for (i64 k = 0; k < model_curve_points; ++k) s_ycurve[k] = static_cast<f32>(ycurve[k]);
    return status_success;
}

// Maps the values onto the unit interval. False if all are equal.
bool scale_to_unit(f32* values) {
    const array_view<const f32> all(values, model_curve_points);
    const f32 least = least_of(all), greatest = greatest_of(all);
    if (least == greatest) return false;
    for (i64 k = 0; k < model_curve_points; ++k)
        values[k] = (values[k] - least) / (greatest - least);
    return true;
}

} // namespace

i32 modelfit_all(const i32& idx_model, const i32& i_npoints, const array_view<const f32>& s_xdata,
                 const array_view<const f32>& s_ydata, f32* s_coef, const array_view<f32>& s_xcurve,
                 const array_view<f32>& s_ycurve_out) {
    static constexpr routine_text self("modelfit_all");
    static constexpr std::string_view no_exponential =
        "error calling imsl BCNLS with the exponential function";
    numeric::ERSET(0, 0, 0);
    if (i_npoints > most_lag_classes)
        return fail_in_call(self, "i_npoints exceeds the maximum 100");

    switch (idx_model) {
    case exponential_model:
        // Bounds of 0 leave a range of 0 alone, and the model divides by the range.
        if (greatest_of(s_ydata) == 0) return fail_in_call(self, no_exponential);
        call_bounded_fit(exponential_residuals, i_npoints, s_xdata, s_ydata);
        if (outcome_of(self, no_exponential, numeric::bounded_fit_storage_code) != status_success)
            return status_failure;
        if (s_x[0] == 0.0F) return fail_in_call(self, no_exponential);
        break;
    case power_model:
        call_bounded_fit(power_residuals, i_npoints, s_xdata, s_ydata);
        if (outcome_of(self, "error calling imsl BCNLS with the power function",
                       numeric::bounded_fit_storage_code) != status_success)
            return status_failure;
        break;
    case polynomial_model:
        if (fit_polynomial(self, s_xdata, s_ydata) != status_success) return status_failure;
        break;
    default: return fail_in_call(self, "idx_model is not defined correctly");
    }

    const f32 s_xmax = greatest_of(s_xdata), s_xmin = least_of(s_xdata);
    const f32 s_step = (s_xmax - s_xmin) * 0.01F;
    for (i64 k = 0; k < model_curve_points; ++k) s_xtab[k] = static_cast<f32>(k) * s_step + s_xmin;

    if (idx_model == exponential_model) {
        for (i64 k = 0; k < model_curve_points; ++k)
            s_ycurve[k] = (1.0F - exponential(-(3.0F * s_xtab[k]) / s_x[0])) * s_x[1];
    } else if (idx_model == power_model) {
        for (i64 k = 0; k < model_curve_points; ++k)
            s_ycurve[k] = power(s_xtab[k], s_x[1]) * s_x[0];
    }
    for (i32 k = 0; k < 2; ++k)
        s_coef[k] = idx_model == polynomial_model ? static_cast<f32>(x_polycoef[k]) : s_x[k];
    for (i64 k = 0; k < model_curve_points; ++k) {
        s_xcurve(k + 1) = s_xtab[k];
        s_ycurve_out(k + 1) = s_ycurve[k];
    }
    return status_success;
}

i32 semivariogram_modlefit(const i32& idx_model, const i32& i_npoints,
                           const array_view<const f32>& s_xdata,
                           const array_view<const f32>& s_ydata, f32* s_coef,
                           const array_view<f32>& s_xcurve, const array_view<f32>& s_ycurve_out,
                           f32* s_fitsummary) {
    static constexpr routine_text self("semivariogram_modlefit");
    modelfit_all(idx_model, i_npoints, s_xdata, s_ydata, s_coef, s_xcurve, s_ycurve_out);
    if (has_failed()) return pass_up(self);

    f32 s_xn[table_length], s_yn[table_length];
    for (i64 k = 0; k < model_curve_points; ++k) {
        s_xn[k] = s_xcurve(k + 1);
        s_yn[k] = s_ycurve_out(k + 1);
    }
    // A constant curve has no slope on the unit interval, hence no flat part.
    const bool has_slopes = scale_to_unit(s_xn) && scale_to_unit(s_yn);
    const f32 flat = std::bit_cast<f32>(0x3DB32D42U); // the tangent of 5 degrees
    i64 knee = has_slopes ? 1 : model_curve_points - 1;
    while (knee < model_curve_points - 1) {
        const f32 slope = (s_yn[knee] - s_yn[knee - 1]) / (s_xn[knee] - s_xn[knee - 1]);
        if (slope < flat) break; // false for a NaN
        ++knee;
    }
    const f32 sill = s_ycurve_out(knee), nugget = s_ycurve_out(1);
    s_fitsummary[0] = s_xcurve(knee);
    s_fitsummary[1] = sill;
    s_fitsummary[2] = sill - nugget;
    s_fitsummary[3] = nugget;
    return status_success;
}

} // namespace qmx
