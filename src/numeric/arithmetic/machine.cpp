#include "numeric/arithmetic/machine.hpp"

#include "numeric/errors/numeric_frame.hpp"

#include <limits>

namespace qmx::numeric {

namespace {

template <class Real>
constexpr Real constants[] = {
    std::numeric_limits<Real>::min(),
    std::numeric_limits<Real>::max(),
    std::numeric_limits<Real>::epsilon() / 2,
    std::numeric_limits<Real>::epsilon(),
    static_cast<Real>(0.301029995663981195213738894724493L),
    std::numeric_limits<Real>::quiet_NaN(),
    std::numeric_limits<Real>::infinity(),
    -std::numeric_limits<Real>::infinity(),
};

// The name is pushed only to post an error, so that N1RTY(1) still reports the routine called
// before.
template <class Real> Real machine_constant(std::string_view name, i32 n) {
    if (n >= 1 && n <= 8) return constants<Real>[n - 1];
    const numeric_frame frame(name);
    E1STI(1, n);
    post(type_terminal, 5, "The argument must be between 1 and 8 inclusive. N = %(I1)");
    return std::numeric_limits<Real>::quiet_NaN();
}

} // namespace

f32 AMACH(const i32& n) {
    return machine_constant<f32>("AMACH ", n);
}
f64 DMACH(const i32& n) {
    return machine_constant<f64>("DMACH ", n);
}

} // namespace qmx::numeric
