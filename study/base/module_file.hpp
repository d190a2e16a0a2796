// The part of the program that needs GDAL stands in a file of its own, which is opened when something of it
// is first asked for: GDAL brings more than a hundred libraries, and most runs need none.
//
// The module offers tables of functions, one for each of our rooms that calls GDAL (*_calls.hpp). Records of
// study/ pass between it and the program as they are, exceptions too: both are built alike, which is checked
// before the first call.
#pragma once

#include <string>

namespace qmx_study {

// Exported by the module: QMX_IC_BUILT_ALIKE of the files that it was made of.
constexpr const char* module_mark_name = "qmx_ic_module_mark";
#define QMX_IC_BUILT_ALIKE QMX_IC_MODULE_VERSION ", " __VERSION__

// Where the module may stand: beside the program, and in the folder where it is installed. Never a place that
// the working folder or the environment names.
struct module_places {
    std::string beside, installed;
};
// Throws usage_error where the system does not tell which file the program is.
module_places places_of_module();

// The address of what the module exports under a name. Throws usage_error: the module is missing, cannot be
// loaded, or is another version's; std::bad_alloc where memory does not suffice for it.
const void* address_in_module(const char* name);

template <class calls> const calls& calls_of_module(const char* name) {
    return *static_cast<const calls*>(address_in_module(name));
}

} // namespace qmx_study
