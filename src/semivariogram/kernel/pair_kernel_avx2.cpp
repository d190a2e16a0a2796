// The pair kernel for processors with AVX2; empty if the compiler flags lack it.
#include "semivariogram/kernel/pair_kernel.hpp"

#if defined(__AVX2__) && defined(__BMI2__)

#include "semivariogram/kernel/placed_kernel_body.hpp"

const qmx::pair_kernel::version qmx::pair_kernel::version_avx2 = {"avx2",
                                                                  width,
                                                                  sweep_rows,
                                                                  sweep_row<class_sums>,
                                                                  sweep_row<row_sums>,
                                                                  sweep_placed_rows,
                                                                  sweep_placed_row};

#else

const qmx::pair_kernel::version qmx::pair_kernel::version_avx2 = {};

#endif
