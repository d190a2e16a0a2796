// The module qmx_ic._exports: calls of the library, one at a time in a process.

#include <string>
#include <string_view>

#include <nanobind/nanobind.h>

#include "call_lock.hpp"
#include "library_calls.hpp"
#include "records.hpp"
#include "results.hpp"

namespace nb = nanobind;

namespace qmx_python {

call_mutex& call_lock() {
    static call_mutex& lock =
        *new call_mutex; // never destroyed: threads may outlive the interpreter
    return lock;
}

nb::object failure_of(std::int32_t returned, const t_event& event) {
    if (returned == QMX_IC_SUCCESS) return nb::none();
    const auto text_of = [](const auto& padded) {
        std::string_view text(padded, sizeof padded);
        while (!text.empty() && (text.back() == ' ' || text.back() == '\0')) text.remove_suffix(1);
        return nb::str(text.data(), text.size());
    };
    return nb::make_tuple(text_of(event.c_description), text_of(event.c_subfunc), event.i_errcode);
}

namespace {

// A child of fork() gets the library's memory as it stands: it must not be in the midst of a call.
void wait_before_fork() {
    const nb::gil_scoped_release released;
    call_lock().lock_for_fork();
}
void go_on_after_fork() {
    call_lock().unlock_after_fork();
}

void survive_forks() {
    const nb::object os = nb::module_::import_("os");
    if (!nb::hasattr(os, "register_at_fork")) return;
    const nb::object after = nb::cpp_function(&go_on_after_fork);
    os.attr("register_at_fork")(nb::arg("before") = nb::cpp_function(&wait_before_fork),
                                nb::arg("after_in_parent") = after,
                                nb::arg("after_in_child") = after);
}

} // namespace

} // namespace qmx_python

NB_MODULE(_exports, module) {
    using namespace qmx_python;
    module.attr("version") = QMX_IC_VERSION;
    module.attr("call_lock") =
        nb::steal(PyCapsule_New(&call_lock(), "qmx_ic._exports.call_lock", nullptr));
    survive_forks();
    bind_records(module);
    bind_results(module);
    bind_measure_calls(module);
    bind_place_calls(module);
}
