// The three BLAS routines that the numerical routines call, for builds where no BLAS may be taken for
// granted: packages for Python, Windows. Bit for bit what the reference BLAS gives.
#pragma once

#include "base/base_types.hpp"

namespace qmx {

// y = x, n elements. A negative increment starts at the far end.
void copy_elements(i32 n, const f32* x, i32 x_step, f32* y, i32 y_step);

// Sets up a modified Givens rotation H that turns the second element of (sqrt(d1) x1, sqrt(d2) y1) to
// 0: param[0] is its form, param[1] to param[4] hold what the form leaves open of h11, h21, h12, h22.
// d1, d2 and x1 become those of the rotated row. Source: Lawson, Hanson, Kincaid and Krogh (1979), with
// the scaling of Hopkins (1997).
void set_up_rotation(f64& d1, f64& d2, f64& x1, f64 y1, f64* param);

// Applies H to n pairs.
void apply_rotation(i32 n, f64* x, i32 x_step, f64* y, i32 y_step, const f64* param);

} // namespace qmx
