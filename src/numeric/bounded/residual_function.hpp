// The function that a nonlinear fit makes small, as the solver sees it.
#pragma once

#include "base/base_types.hpp"

namespace qmx::numeric {

// m residuals of n parameters. Everything the solver holds is f64; where the residuals are computed
// in single precision, the parameters they are asked for are single-precision numbers.
struct residual_function {
    i64 m;
    i64 n;
    void* context;
    void (*residuals)(void* context, const f64* x, f64* f);          // f [m]
    void (*jacobian)(void* context, const f64* x, f64* derivatives); // [m by n]; null: differences
    bool is_single;
};

// Residuals at x, multiplied by scale, a power of two that keeps their squares from overflow and
// underflow. Returns the sum of the squares: infinite where a residual is not finite.
f64 evaluate(const residual_function& function, f64 scale, const f64* x, f64* f);

// The nearest number that the residuals can be asked for; and the next one on the side of toward.
f64 nearest_parameter(const residual_function& function, f64 x);
f64 next_parameter(const residual_function& function, f64 x, f64 toward);

// Relative spacing of the residuals' arithmetic.
f64 spacing_of(const residual_function& function);

} // namespace qmx::numeric
