#include "base/limits.hpp"
#include "exports/export_frame.hpp"
#include "toolkit/polynomial_curve.hpp"

using namespace qmx;

namespace {

void narrow(const f64* curve, float* host) {
    for (i32 i = 0; i < curve_points; ++i) host[i] = static_cast<f32>(curve[i]);
}

} // namespace

extern "C" int32_t call_polycurvefit(int32_t i_npoints, int32_t i_degree, const float* s_xdata,
                                     const float* s_ydata, float* s_xcurve,
                                     float* s_ycurve) noexcept {
    static constexpr routine_text self("call_polycurvefit");
    // The curve is never negative: smaller ordinates become the smallest normal f64, which is 0 in
    // f32.
    constexpr f64 lower = std::numeric_limits<f64>::min();
    constexpr f64 upper = std::numeric_limits<f64>::max();
    const call_arithmetic arithmetic;
    clear_event();
    f64 xcurve[curve_points] = {};
    f64 ycurve[curve_points] = {};
    polycurvfit(view_of(s_xdata, i_npoints), view_of(s_ydata, i_npoints),
                view_of(xcurve, curve_points), view_of(ycurve, curve_points), &lower, &upper,
                &i_degree);
    if (!has_failed()) {
        narrow(xcurve, s_xcurve);
        narrow(ycurve, s_ycurve);
    }
    return finish_export(self, nullptr);
}
