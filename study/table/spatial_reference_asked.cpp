// The program's side of the module for GDAL.
#include "study/table/spatial_reference.hpp"

#include "study/base/module_file.hpp"
#include "study/table/gdal_calls.hpp"

namespace qmx_study {

namespace {

const reference_calls& reference_module() {
    static const reference_calls& calls = calls_of_module<reference_calls>(reference_calls_name);
    return calls;
}

} // namespace

// The module alone makes them, and ends them.
std::string spatial_reference::name() const {
    return reference_module().name(*this);
}
bool spatial_reference::is_geographic() const {
    return reference_module().is_geographic(*this);
}
bool spatial_reference::is_same_as(const spatial_reference& other) const {
    return reference_module().is_same(*this, other);
}
std::string spatial_reference::length_unit() const {
    return reference_module().length_unit(*this);
}

coordinate_system wgs84() {
    return reference_module().wgs84();
}
coordinate_system system_from_text(const std::string& text) {
    return reference_module().from_text(text);
}

} // namespace qmx_study
