// What the analyses hand back: objects of the package's classes, made of the tuples that calls return.
#pragma once

#include <nanobind/nanobind.h>

namespace qmx_python {

void bind_results(nanobind::module_& module);

} // namespace qmx_python
