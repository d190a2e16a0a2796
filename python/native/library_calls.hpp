// The eight functions of the library as Python calls them: arrays of the caller in and out, and a
// failure as a tuple (description, path, code), None after success. What a function hands back depends
// on its arguments alone, though the library keeps statistics from call to call.
#pragma once

#include <nanobind/nanobind.h>

#include <qmx_ic.h>

#include "call_lock.hpp"

namespace qmx_python {

call_mutex& call_lock(); // of the process, owned by this module

nanobind::object failure_of(std::int32_t returned, const t_event& event);

void bind_measure_calls(nanobind::module_& module); // statistics, curves, semivariogram
void bind_place_calls(nanobind::module_& module);   // selections, spot tests, coverage

} // namespace qmx_python
