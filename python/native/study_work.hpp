// How the package calls study/: without the GIL, one call at a time, ended by Ctrl-C, and with every
// failure as an exception of Python.
#pragma once

#include <mutex>
#include <optional>
#include <string>

#include <nanobind/nanobind.h>

#include "call_lock.hpp"
#include "study/base/progress.hpp"

namespace qmx_python {

namespace nb = nanobind;

// Texts that are no UTF-8, such as names of files, go both ways as Python keeps them.
nb::object text_or_none(const std::string& text);
std::string text_of_python(nb::handle text);

// Looks for signals now and then, and keeps what their handlers raised.
class interruption {
public:
    qmx_study::progress_hook hook();
    // Raises what a handler raised, where one did.
    void raise_kept();

private:
    std::optional<nb::python_error> raised;
    double next_look = 0; // seconds of a steady clock
    bool is_wanted();
};

// Whether a file that is not there was to be read, or to be written.
enum class direction { reads, writes };

// Inside a catch block, with the GIL: raises the StudyError that tells the same.
[[noreturn]] void raise_as_python(direction way);

// work(progress&) with the lock and without the GIL.
template <class Work> auto run(direction way, Work&& work) {
    call_mutex& lock = imported_call_lock();
    interruption asked;
    try {
        const nb::gil_scoped_release free;
        const std::lock_guard serialised(lock);
        qmx_study::progress shown(asked.hook());
        return work(shown);
    } catch (...) {
        asked.raise_kept();
        raise_as_python(way);
    }
}

} // namespace qmx_python
