// The pair kernel for any processor.
#include "semivariogram/kernel/placed_kernel_body.hpp"

const qmx::pair_kernel::version qmx::pair_kernel::version_plain = {
    "plain",           width,           sweep_rows, sweep_row<class_sums>, sweep_row<row_sums>,
    sweep_placed_rows, sweep_placed_row};
