#include <nanobind/nanobind.h>

NB_MODULE(_study, module) {
    module.attr("version") = QMX_IC_VERSION;
}
