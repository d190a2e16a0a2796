#include "toolkit/interpolation.hpp"

#include "events/event.hpp"

#include <cmath>

namespace qmx {

namespace {

// The ordinate at xq, which lies within the table. Of two neighbouring points within the tolerance
// the later one wins, so that a repeated abscissa never divides by a zero step.
template <class Real>
Real ordinate_within(const array_view<const Real>& y, const array_view<const Real>& x, Real xq) {
    constexpr Real tolerance = 100 * std::numeric_limits<Real>::epsilon();
    for (i64 i = 2; i <= x.extent; ++i) {
        const Real before = x(i - 1) - xq;
        const Real after = x(i) - xq;
        if (std::abs(after) < tolerance) return y(i);
        if (std::abs(before) < tolerance) return y(i - 1);
        if (after > 0) return y(i - 1) + ((y(i) - y(i - 1)) / (x(i) - x(i - 1))) * (xq - x(i - 1));
    }
    return 0;
}

template <class Real>
i32 interpolate(const routine_text& self, std::string_view wrong_ordinates,
                std::string_view wrong_abscissas, const array_view<const Real>& y,
                const array_view<const Real>& x, const array_view<const Real>& xq,
                const array_view<Real>& yq, const i32* i_outside) {
    for (i64 j = 1; j <= yq.extent; ++j) yq(j) = 0;
    if (y.extent < 2) return fail_here(self, wrong_ordinates);
    if (x.extent < 2) return fail_here(self, wrong_abscissas);

    const i64 n = x.extent;
    const bool zero_outside = i_outside != nullptr && *i_outside == flag_yes;
    for (i64 j = 1; j <= xq.extent; ++j) {
        if (!(xq(j) >= x(1)))
            yq(j) = zero_outside ? 0 : y(1);
        else if (xq(j) > x(n))
            yq(j) = zero_outside ? 0 : y(n);
        else
            yq(j) = ordinate_within(y, x, xq(j));
    }
    return status_success;
}

} // namespace

i32 linr_intpol(const array_view<const f64>& d_y, const array_view<const f64>& d_x,
                const array_view<const f64>& d_xq, const array_view<f64>& d_yq,
                const i32* i_outside) {
    static constexpr routine_text self("linr_intpol");
    return interpolate(self, "d_y size is not correct", "d_x size is not correct", d_y, d_x, d_xq,
                       d_yq, i_outside);
}

i32 linr_intpol_s(const array_view<const f32>& x_y, const array_view<const f32>& x_x,
                  const array_view<const f32>& x_xq, const array_view<f32>& x_yq,
                  const i32* i_outside) {
    static constexpr routine_text self("linr_intpol_s");
    return interpolate(self, "x_y size is not correct", "x_x size is not correct", x_y, x_x, x_xq,
                       x_yq, i_outside);
}

} // namespace qmx
