// The mesh of the data: the piece of the plan that one point stands for.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include <qmx_ic.h>

namespace qmx_study {

struct mesh_size {
    double x = 0, y = 0; // along the eastings, along the northings; unit of the positions
    double area() const { return x * y; }
};

// "0.3,0.3". Throws usage_error unless both are above 0.
mesh_size read_mesh(const std::string& text);

// The spacing of positions that lie on a lattice along the axes, rounded to what coordinates written
// to the thousandth can tell. Nothing when they do not (at least 99 of 100 points on the lattice), or
// when one of the two directions has too few rows to tell.
std::optional<mesh_size> lattice_of(const std::vector<t_icdata>& points);

// Mean number of points in those cells of a grid of this mesh that hold any. One point a cell gives 1
// on a lattice and at most about 1.6 without one; much more comes of several passes over the same
// ground.
double points_per_cell(const std::vector<t_icdata>& points, const mesh_size& mesh);

} // namespace qmx_study
