// The module's side: what projection_calls.hpp names.
#include "study/lot/projection_calls.hpp"

namespace qmx_study {

extern "C" __attribute__((visibility("default")))
const projection_calls qmx_ic_projection_calls{planar_system, transform};

} // namespace qmx_study
