// Coordinate systems as values that are passed on. What one is made of is known to the build: with
// GDAL all that PROJ knows; without it a name, and whether it counts in degrees.
#pragma once

#include <memory>
#include <string>

namespace qmx_study {

// A coordinate system with easting (longitude) first.
class spatial_reference {
public:
    struct description;
    explicit spatial_reference(std::unique_ptr<description> known);
    ~spatial_reference();

    std::string name() const;
    bool is_geographic() const; // degrees
    bool is_same_as(const spatial_reference& other) const;
    std::string length_unit() const; // "m", "ft", "US survey ft", "deg"; "" where it is not known

    const description& known() const { return *of; }

private:
    std::unique_ptr<description> of;
};

// Null where a file does not name one.
using coordinate_system = std::shared_ptr<const spatial_reference>;

coordinate_system wgs84();
// A code such as EPSG:26915, or the well-known text of a .prj file; null where nothing is understood.
coordinate_system system_from_text(const std::string& text);

} // namespace qmx_study
