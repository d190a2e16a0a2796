#include "blas/blas_routines.hpp"

#include <cmath>

namespace qmx {

namespace {

// Forms of a rotation, as param[0] holds them.
constexpr f64 full = -1;     // all four elements are given
constexpr f64 unit_on = 0;   // h11 = h22 = 1
constexpr f64 unit_off = 1;  // h12 = 1, h21 = -1
constexpr f64 identity = -2; // nothing to turn

// Scale factors are kept within these by powers of 4096, which cost no digit.
constexpr f64 step = 4096;
constexpr f64 most = 16777216;
constexpr f64 least = 5.9604645e-8;

struct rotation {
    f64 form = full;
    f64 h11 = 0, h12 = 0, h21 = 0, h22 = 0;
};

// Before elements that a form implies are scaled they have to be written down. The reference does so
// before each power, so that from the second on it starts from -1 and 1 again; its bits are wanted.
void write_down(rotation& h) {
    if (h.form == unit_on) {
        h.h11 = 1;
        h.h22 = 1;
    } else {
        h.h21 = -1;
        h.h12 = 1;
    }
    h.form = full;
}

// Where a scale factor is out of bounds, a row of H and what hangs on it take the power out of it.
void keep_within_bounds(f64& d, f64* x, f64& left, f64& right, rotation& h) {
    if (d == 0 || std::isinf(d)) return; // for an infinite one the reference would never end
    while (std::fabs(d) <= least || std::fabs(d) >= most) {
        write_down(h);
        if (std::fabs(d) <= least) {
            d = d * (step * step);
            if (x) *x = *x / step;
            left = left / step;
            right = right / step;
        } else {
            d = d / (step * step);
            if (x) *x = *x * step;
            left = left * step;
            right = right * step;
        }
    }
}

// The first of n elements: a negative increment starts at the far end.
template <class Element> Element* first(Element* x, i32 n, i32 increment) {
    return increment < 0 ? x + static_cast<i64>(1 - n) * increment : x;
}

} // namespace

void copy_elements(i32 n, const f32* x, i32 x_step, f32* y, i32 y_step) {
    if (n <= 0) return;
    x = first(x, n, x_step);
    y = first(y, n, y_step);
    for (i32 i = 0; i < n; ++i) y[static_cast<i64>(i) * y_step] = x[static_cast<i64>(i) * x_step];
}

void set_up_rotation(f64& d1, f64& d2, f64& x1, f64 y1, f64* param) {
    rotation h;
    const auto nothing_left = [&] {
        h = {};
        d1 = d2 = x1 = 0;
    };
    if (d1 < 0) {
        nothing_left();
    } else {
        const f64 p2 = d2 * y1;
        if (p2 == 0) {
            param[0] = identity;
            return;
        }
        const f64 p1 = d1 * x1;
        const f64 q2 = p2 * y1;
        const f64 q1 = p1 * x1;
        if (std::fabs(q1) > std::fabs(q2)) {
            h.h21 = -y1 / x1;
            h.h12 = p2 / p1;
            const f64 u = 1 - h.h12 * h.h21;
            if (u > 0) {
                h.form = unit_on;
                d1 = d1 / u;
                d2 = d2 / u;
                x1 = x1 * u;
            } else { // rounding alone leads here
                nothing_left();
            }
        } else if (q2 < 0) {
            nothing_left();
        } else {
            h.form = unit_off;
            h.h11 = p1 / p2;
            h.h22 = x1 / y1;
            const f64 u = 1 + h.h11 * h.h22;
            const f64 exchanged = d2 / u;
            d2 = d1 / u;
            d1 = exchanged;
            x1 = y1 * u;
        }
        keep_within_bounds(d1, &x1, h.h11, h.h12, h);
        keep_within_bounds(d2, nullptr, h.h21, h.h22, h);
    }
    if (h.form != unit_on) {
        param[1] = h.h11;
        param[4] = h.h22;
    }
    if (h.form != unit_off) {
        param[2] = h.h21;
        param[3] = h.h12;
    }
    param[0] = h.form;
}

void apply_rotation(i32 n, f64* x, i32 x_step, f64* y, i32 y_step, const f64* param) {
    if (n <= 0 || param[0] == identity) return;
    x = first(x, n, x_step);
    y = first(y, n, y_step);
    const f64 form = param[0];
    for (i32 i = 0; i < n; ++i) {
        f64& w = x[static_cast<i64>(i) * x_step];
        f64& z = y[static_cast<i64>(i) * y_step];
        const f64 old_w = w, old_z = z;
        if (form < 0) {
            w = old_w * param[1] + old_z * param[3];
            z = old_w * param[2] + old_z * param[4];
        } else if (form == 0) {
            w = old_w + old_z * param[3];
            z = old_w * param[2] + old_z;
        } else {
            w = old_w * param[1] + old_z;
            z = -old_w + param[4] * old_z;
        }
    }
}

} // namespace qmx
