#include <nanobind/nanobind.h>

NB_MODULE(_exports, module) {
    module.attr("version") = QMX_IC_VERSION;
}
