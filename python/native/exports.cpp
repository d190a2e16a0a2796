#include <mutex>

#include <nanobind/nanobind.h>

#include "call_lock.hpp"

NB_MODULE(_exports, module) {
    static std::mutex calls;
    module.attr("version") = QMX_IC_VERSION;
    module.attr("call_lock") = nanobind::capsule(&calls, qmx_python::call_lock_name);
}
