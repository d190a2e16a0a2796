// Calls of the library must not overlap in a process. Both compiled parts of the package take the one
// mutex that _exports owns; others find it through the capsule qmx_ic._exports.call_lock.
//
// Nobody waits for the mutex while holding the interpreter's lock, and nobody waits for the
// interpreter's lock while holding the mutex: so no two threads can wait for each other.
#pragma once

#include <cstdint>
#include <mutex>

#include <nanobind/nanobind.h>

namespace qmx_python {

inline constexpr const char* call_lock_name = "qmx_ic._exports.call_lock";

// For modules other than _exports, with the interpreter's lock held; throws where the import fails.
inline std::mutex& imported_call_lock() {
    void* const found = PyCapsule_Import(call_lock_name, 0);
    if (found == nullptr) throw nanobind::python_error();
    return *static_cast<std::mutex*>(found);
}

// Runs a call with the interpreter's lock released and the mutex held.
template <class Call> auto serialised(std::mutex& lock, Call call) {
    const nanobind::gil_scoped_release released;
    const std::lock_guard guard(lock); // given back first
    return call();
}

// The same for a call of a few microseconds, which keeps the interpreter's lock where it can.
template <class Call> auto serialised_briefly(std::mutex& lock, Call call) {
    if (const std::unique_lock guard(lock, std::try_to_lock); guard.owns_lock()) return call();
    return serialised(lock, call);
}

} // namespace qmx_python
