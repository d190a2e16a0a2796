// The pair kernel for processors with AVX-512; empty if the compiler flags lack it, and where coverage is
// counted, since the machine that counts may not run it. Its source is that of the other versions but for
// the operations on registers (lanes.hpp).
#include "semivariogram/kernel/pair_kernel.hpp"

#if defined(__AVX512F__) && defined(__AVX512BW__) && defined(__AVX512VL__) &&                      \
    defined(__AVX512DQ__) && !defined(QMX_IC_COVERAGE)

#include "semivariogram/kernel/placed_kernel_body.hpp"

const qmx::pair_kernel::version qmx::pair_kernel::version_avx512 = {
    "avx512",          width,           sweep_rows, sweep_row<class_sums>, sweep_row<row_sums>,
    sweep_placed_rows, sweep_placed_row};

#else

const qmx::pair_kernel::version qmx::pair_kernel::version_avx512 = {};

#endif
