// The pair kernel for any processor.
#include "semivariogram/pair_kernel_body.hpp"

namespace qmx::pair_kernel {

extern const version version_plain;
const version version_plain = {
    "plain", filter, filter_with_offsets, classify, classify_and_direct, reject, collect, add};

} // namespace qmx::pair_kernel
