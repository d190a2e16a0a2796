#include "study/lot/projection.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>

#include <cpl_error.h>
#include <fmt/format.h>

#include "study/base/errors.hpp"
#include "study/base/number_text.hpp"
#include "study/table/ogr_reference.hpp"

namespace qmx_study {

namespace {

constexpr std::size_t block = 65536;

// The UTM zone of the mean position as an EPSG code: 32601..32660 north, 32701..32760 south.
int utm_code(const std::vector<double>& x, const std::vector<double>& y) {
    double sum_x = 0;
    double sum_y = 0;
    double count = 0;
    for (std::size_t i = 0; i < x.size(); ++i) {
        if (std::isnan(x[i]) || std::isnan(y[i])) continue;
        sum_x += x[i];
        sum_y += y[i];
        ++count;
    }
    const double longitude = count > 0 ? sum_x / count : 0;
    const double turns = std::floor((longitude + 180) / 360);
    const int zone = static_cast<int>(std::floor((longitude - 360 * turns + 180) / 6)) + 1;
    return (sum_y < 0 ? 32700 : 32600) + std::min(zone, 60);
}

} // namespace

coordinate_system planar_system(const std::string& to, const spatial_reference& from,
                                const std::vector<double>& x, const std::vector<double>& y) {
    prepare_gdal();
    OGRSpatialReference target;
    const bool is_utm = same_text(to, "utm");
    if (is_utm && !from.is_geographic())
        throw usage_error(
            fmt::format("--project utm is for longitudes and latitudes; the positions "
                        "are planar already ({}); name a code such as EPSG:26915",
                        from.name()));
    const OGRErr error =
        is_utm ? target.importFromEPSG(utm_code(x, y)) : target.SetFromUserInput(to.c_str());
    if (error != OGRERR_NONE)
        throw usage_error(
            fmt::format(
                "--project \"{}\": no such coordinate system; say utm or a code such as EPSG:26915",
                to),
            {"--project", {}, 0, {}});
    if (!target.IsProjected())
        throw usage_error(
            fmt::format("--project \"{}\": this is no planar coordinate system; say utm "
                        "or the code of a projection such as EPSG:26915",
                        to),
            {"--project", {}, 0, {}});
    return copy_of(&target);
}

void transform(const spatial_reference& from, const spatial_reference& to, std::vector<double>& x,
               std::vector<double>& y) {
    CPLErrorReset();
    const std::unique_ptr<OGRCoordinateTransformation> way(
        OGRCreateCoordinateTransformation(&from.known().system, &to.known().system));
    if (!way)
        throw usage_error(fmt::format("there is no way from {} to {}: {}", from.name(), to.name(),
                                      CPLGetLastErrorMsg()));
    std::vector<int> done(block);
    for (std::size_t start = 0; start < x.size(); start += block) {
        const std::size_t count = std::min(block, x.size() - start);
        way->Transform(static_cast<int>(count), x.data() + start, y.data() + start, nullptr,
                       nullptr, done.data());
        for (std::size_t i = 0; i < count; ++i)
            if (!done[i] || !std::isfinite(x[start + i]) || !std::isfinite(y[start + i]))
                x[start + i] = y[start + i] = std::numeric_limits<double>::quiet_NaN();
    }
}

} // namespace qmx_study
