#include "numeric/arithmetic/guarded.hpp"

#include "numeric/arithmetic/machine.hpp"

#include <cmath>

namespace qmx::numeric {

f64 guarded_quotient(f64 a, f64 b) {
    if (std::isnan(a) || std::isnan(b)) return DMACH(6);
    const f64 magnitude = std::abs(b);
    if (magnitude > 1.0) {
        if (std::abs(a) < DMACH(1) * magnitude) return 0.0;
    } else if (magnitude * DMACH(2) <= std::abs(a)) {
        if (a == 0.0) return DMACH(6);
        return std::signbit(a) != std::signbit(b) ? DMACH(8) : DMACH(7);
    }
    return a / b;
}

} // namespace qmx::numeric
