// The eight functions of the library as Python calls them: arrays of the caller in and out, and a
// failure as a tuple (description, path, code), None after success. What a function hands back depends
// on its arguments alone, though the library keeps statistics from call to call.
#pragma once

#include <cstddef>
#include <cstdint>

#include <nanobind/nanobind.h>

#include <qmx_ic.h>

#include "call_lock.hpp"

namespace qmx_python {

call_mutex& call_lock(); // of the process, owned by this module

// Calls with more points may take longer than other threads should wait for the interpreter.
inline constexpr std::size_t few_points = 2000;

template <class Call> std::int32_t run(std::size_t points, Call call) {
    return points <= few_points ? serialised_briefly(call_lock(), call)
                                : serialised(call_lock(), call);
}

nanobind::object failure_of(std::int32_t returned, const t_event& event);

void bind_measure_calls(nanobind::module_& module); // statistics, curves, semivariogram
void bind_place_calls(nanobind::module_& module);   // selections, spot tests, coverage

} // namespace qmx_python
