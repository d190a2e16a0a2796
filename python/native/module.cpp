// The compiled part of the package qmx_ic.
#include <nanobind/nanobind.h>

NB_MODULE(_native, module) {
    module.attr("version") = QMX_IC_VERSION;
}
