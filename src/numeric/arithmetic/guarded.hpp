// Division that yields NaN, 0 or an infinity at the limits instead of a hardware exception.
#pragma once

#include "base/base_types.hpp"

namespace qmx::numeric {

// a / b, but NaN for a NaN operand or 0 / 0, 0 where the quotient would underflow, and an infinity
// where it would overflow: minus infinity exactly where the signs of a and b differ.
// A zero has a sign: 3 / -0.0 is minus infinity, as in an unguarded division.
f64 guarded_quotient(f64 a, f64 b);

} // namespace qmx::numeric
