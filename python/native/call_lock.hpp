// Calls of the library must not overlap in a process. Both compiled parts of the package take the one
// mutex that _exports owns; others find it through the capsule qmx_ic._exports.call_lock.
//
// Nobody waits for the mutex while holding the interpreter's lock: so no two threads can wait for each
// other, though the holder of the mutex may wait for the interpreter's lock.
#pragma once

#include <cstdint>
#include <mutex>

#include <nanobind/nanobind.h>

namespace qmx_python {

inline constexpr const char* call_lock_name = "qmx_ic._exports.call_lock";

// A mutex with a gate before it: who holds the gate comes next. Without it a thread that calls without a
// pause would keep all others waiting, a fork among them.
class call_mutex {
public:
    void lock() {
        const std::lock_guard next(gate_);
        calls_.lock();
    }
    bool try_lock() {
        const std::unique_lock next(gate_, std::try_to_lock);
        return next.owns_lock() && calls_.try_lock();
    }
    void unlock() { calls_.unlock(); }

    // Nobody may be in the midst of a call, nor at the gate: a child of fork() has no such thread.
    void lock_for_fork() {
        gate_.lock();
        calls_.lock();
    }
    void unlock_after_fork() {
        calls_.unlock();
        gate_.unlock();
    }

private:
    std::mutex gate_, calls_;
};

// For modules other than _exports, with the interpreter's lock held; throws where the import fails.
inline call_mutex& imported_call_lock() {
    void* const found = PyCapsule_Import(call_lock_name, 0);
    if (found == nullptr) throw nanobind::python_error();
    return *static_cast<call_mutex*>(found);
}

// Runs a call with the interpreter's lock released and the mutex held.
template <class Call> auto serialised(call_mutex& lock, Call call) {
    const nanobind::gil_scoped_release released;
    const std::lock_guard guard(lock); // given back first
    return call();
}

// The same for a call of a few microseconds, which keeps the interpreter's lock where it can.
template <class Call> auto serialised_briefly(call_mutex& lock, Call call) {
    if (const std::unique_lock guard(lock, std::try_to_lock); guard.owns_lock()) return call();
    return serialised(lock, call);
}

} // namespace qmx_python
