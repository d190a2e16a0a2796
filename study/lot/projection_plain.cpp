// The build without GDAL: positions stay as they are.
#include "study/lot/projection.hpp"

#include <fmt/format.h>

#include "study/base/errors.hpp"

namespace qmx_study {

coordinate_system planar_system(const std::string& to, const spatial_reference&,
                                const std::vector<double>&, const std::vector<double>&) {
    throw usage_error(fmt::format("--project {}: projecting needs a build with GDAL; give a file "
                                  "with planar eastings and northings",
                                  to),
                      {"--project", {}, 0, {}});
}

void transform(const spatial_reference& from, const spatial_reference& to, std::vector<double>&,
               std::vector<double>&) {
    throw usage_error(fmt::format("bringing {} to {} needs a build with GDAL; give both files in "
                                  "one coordinate system",
                                  from.name(), to.name()));
}

} // namespace qmx_study
