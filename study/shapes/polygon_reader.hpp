// Polygons from a file: the areas of any vector format, a WKT column, or the vertices of outlines in
// a table with a position in each row.
#pragma once

#include <string>
#include <vector>

#include "study/table/spatial_reference.hpp"

namespace qmx_study {

struct outline {
    std::vector<double> x, y;
};

struct polygon {
    outline outer;
    std::vector<outline> holes;
};

struct polygon_set {
    std::string file;
    std::vector<polygon> polygons;
    coordinate_system system;   // null where it is not known
    bool is_geographic = false; // degrees
    std::size_t vertices = 0;
    std::size_t holes = 0;
};

// Throws usage_error when there is no polygon, or a vertex is not a number.
polygon_set read_polygons(const std::string& file, const std::string& layer);

} // namespace qmx_study
