// The residual function of a fit, in the solver's f64, with the precision of its arithmetic. Used
// by every file of the chamber.
#pragma once

#include "base/base_types.hpp"

namespace qmx::numeric {

// m residuals of n parameters. The solver works in f64; with is_single the residuals are computed
// in f32, and only at parameters representable in f32.
struct residual_function {
    i64 m;
    i64 n;
    void* context;
    void (*residuals)(void* context, const f64* x, f64* f);          // f [m]
    void (*jacobian)(void* context, const f64* x, f64* derivatives); // [m by n]; null: differences
    bool is_single;
};

// Residuals at x times scale, a power of two that prevents overflow and underflow of their squares.
// Returns the sum of squares: infinite where a residual is not finite.
f64 evaluate(const residual_function& function, f64 scale, const f64* x, f64* f);

// The nearest parameter representable in the residuals' precision; the next one towards toward.
f64 nearest_parameter(const residual_function& function, f64 x);
f64 next_parameter(const residual_function& function, f64 x, f64 toward);

// Machine epsilon of the residuals' precision.
f64 epsilon_of(const residual_function& function);

} // namespace qmx::numeric
