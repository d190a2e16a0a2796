#include "frame/export_frame.hpp"
#include "frame/limits.hpp"
#include "frame/work_array.hpp"
#include "toolkit/polynomial_curve.hpp"

using namespace qmx;

namespace {

work_array<f64> widened(const float* values, i32 count) {
    work_array<f64> wide(count);
    if (wide) std::copy_n(values, wide.size(), wide.data());
    return wide;
}

void narrow(const f64* curve, float* host) {
    for (i32 i = 0; i < curve_points; ++i) host[i] = static_cast<f32>(curve[i]);
}

} // namespace

extern "C" int32_t call_polycurvefit(int32_t i_npoints, int32_t i_degree, const float* s_xdata,
                                     const float* s_ydata, float* s_xcurve,
                                     float* s_ycurve) noexcept {
    static constexpr routine_text self("call_polycurvefit");
    // The curve is never negative: a smaller ordinate becomes the smallest normal f64, and that is 0
    // in the host's precision.
    constexpr f64 lower = std::numeric_limits<f64>::min();
    constexpr f64 upper = std::numeric_limits<f64>::max();
    clear_event();
    const work_array<f64> x = widened(s_xdata, i_npoints);
    const work_array<f64> y = widened(s_ydata, i_npoints);
    f64 xcurve[curve_points] = {};
    f64 ycurve[curve_points] = {};
    if (x && y)
        polycurvfit(view_of<const f64>(x.data(), x.size()), view_of<const f64>(y.data(), y.size()),
                    view_of(xcurve, curve_points), view_of(ycurve, curve_points), &lower, &upper,
                    &i_degree);
    else
        fail_out_of_memory(self);
    if (!has_failed()) {
        narrow(xcurve, s_xcurve);
        narrow(ycurve, s_ycurve);
    }
    return finish_export(self, nullptr);
}
