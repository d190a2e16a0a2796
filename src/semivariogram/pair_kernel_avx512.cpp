// The pair kernel for processors with AVX-512, where the compiler is told to make use of it.
#include "semivariogram/pair_kernel.hpp"

#if defined(__AVX512F__) && defined(__AVX512BW__) && defined(__AVX512VL__) && defined(__AVX512DQ__)

#include "semivariogram/pair_kernel_body.hpp"

namespace qmx::pair_kernel {

extern const version version_avx512;
const version version_avx512 = {
    "avx512", filter, filter_with_offsets, classify, classify_and_direct, reject, collect, add};

} // namespace qmx::pair_kernel

#else

namespace qmx::pair_kernel {

extern const version version_avx512;
const version version_avx512 = {};

} // namespace qmx::pair_kernel

#endif
