// The pairs of f64 of the base, under the name that the numerical routines use.
#pragma once

#include "base/double_double.hpp"

namespace qmx::numeric {

using qmx::double_double;
using qmx::exact_product;
using qmx::exact_sum;

} // namespace qmx::numeric
