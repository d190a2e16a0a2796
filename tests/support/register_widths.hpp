// Runs a check with each version of the loops that this processor can run.
#pragma once

#include "numeric/arithmetic/register_width.hpp"
#include "support/test.hpp"

namespace support {

template <class Check> void with_each_register_width(Check check) {
    using qmx::numeric::register_width;
    constexpr const char* names[] = {"narrow registers", "wide registers", "widest registers"};
    const auto available = static_cast<int>(qmx::numeric::available_registers());
    for (int width = 0; width <= available; ++width) {
        SCOPED_TRACE(names[width]);
        qmx::numeric::permitted_registers = static_cast<register_width>(width);
        check();
    }
    qmx::numeric::permitted_registers = register_width::widest;
}

} // namespace support
