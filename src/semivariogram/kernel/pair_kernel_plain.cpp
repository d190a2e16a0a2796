// The pair kernel for any processor.
#include "semivariogram/kernel/pair_kernel_body.hpp"

const qmx::pair_kernel::version qmx::pair_kernel::version_plain = {
    "plain", width, sweep_rows, sweep_row<class_sums>, sweep_row<row_sums>};
