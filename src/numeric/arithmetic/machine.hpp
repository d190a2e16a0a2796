// Machine constants.
#pragma once

#include "base/base_types.hpp"

namespace qmx::numeric {

// n: 1 smallest positive normal number, 2 largest finite number, 3 unit roundoff (half the machine
// epsilon), 4 machine epsilon, 5 log10 of 2, 6 NaN, 7 and 8 plus and minus infinity. Any other n
// posts a terminal error and gives NaN.
f32 AMACH(const i32& n);
f64 DMACH(const i32& n);

} // namespace qmx::numeric
