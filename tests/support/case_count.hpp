// How many generated cases a test takes: a part of them where lines are counted, which makes programs slow
// and is done by fewer as well.
#pragma once

namespace support {

constexpr unsigned cases(unsigned all, [[maybe_unused]] unsigned one_of_counted = 10) {
#ifdef QMX_IC_COVERAGE
    return all / one_of_counted;
#else
    return all;
#endif
}

} // namespace support
