// The pair kernel for processors with AVX2, where the compiler is told to make use of it.
#include "semivariogram/pair_kernel.hpp"

#if defined(__AVX2__) && defined(__BMI2__)

#include "semivariogram/pair_kernel_body.hpp"

namespace qmx::pair_kernel {

extern const version version_avx2;
const version version_avx2 = {
    "avx2", filter, filter_with_offsets, classify, classify_and_direct, reject, collect, add};

} // namespace qmx::pair_kernel

#else

namespace qmx::pair_kernel {

extern const version version_avx2;
const version version_avx2 = {};

} // namespace qmx::pair_kernel

#endif
