// The standard names of the BLAS for the three routines. Not linked where an installed BLAS serves.
#include "blas/blas.hpp"
#include "blas/blas_routines.hpp"

extern "C" { // GCOVR_EXCL_START: builds whose lines are counted have an installed BLAS

void scopy_(const qmx::i32* n, const qmx::f32* x, const qmx::i32* incx, qmx::f32* y,
            const qmx::i32* incy) {
    qmx::copy_elements(*n, x, *incx, y, *incy);
}

void drotmg_(qmx::f64* d1, qmx::f64* d2, qmx::f64* x1, const qmx::f64* y1, qmx::f64* param) {
    qmx::set_up_rotation(*d1, *d2, *x1, *y1, param);
}

void drotm_(const qmx::i32* n, qmx::f64* x, const qmx::i32* incx, qmx::f64* y, const qmx::i32* incy,
            const qmx::f64* param) {
    qmx::apply_rotation(*n, x, *incx, y, *incy, param);
}

} // extern "C" GCOVR_EXCL_STOP
