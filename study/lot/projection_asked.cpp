// The program's side of the module for GDAL.
#include "study/base/module_file.hpp"
#include "study/lot/projection_calls.hpp"

namespace qmx_study {

namespace {

const projection_calls& projection_module() {
    static const projection_calls& calls = calls_of_module<projection_calls>(projection_calls_name);
    return calls;
}

} // namespace

coordinate_system planar_system(const std::string& to, const spatial_reference& from,
                                const std::vector<double>& x, const std::vector<double>& y) {
    return projection_module().planar(to, from, x, y);
}

void transform(const spatial_reference& from, const spatial_reference& to, std::vector<double>& x,
               std::vector<double>& y) {
    projection_module().move(from, to, x, y);
}

} // namespace qmx_study
