// The BLAS routines in use, by their standard Fortran interface: arguments by reference, increments
// in elements. Which library they come from is settled when the program is built.
#pragma once

#include "base/base_types.hpp"

extern "C" {

// y = x
void scopy_(const qmx::i32* n, const qmx::f32* x, const qmx::i32* incx, qmx::f32* y,
            const qmx::i32* incy);

// Modified Givens rotation: sets it up, in param [5], to turn the second of (x1, y1) to 0; applies it
// to n pairs (x, y).
void drotmg_(qmx::f64* d1, qmx::f64* d2, qmx::f64* x1, const qmx::f64* y1, qmx::f64* param);
void drotm_(const qmx::i32* n, qmx::f64* x, const qmx::i32* incx, qmx::f64* y, const qmx::i32* incy,
            const qmx::f64* param);

} // extern "C"
