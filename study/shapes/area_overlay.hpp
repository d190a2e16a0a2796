// How large polygons are where they lie over one another.
#pragma once

#include <optional>
#include <vector>

#include "study/shapes/polygon_reader.hpp"

namespace qmx_study {

struct overlay_areas {
    double first = 0, second = 0; // that any polygon of the first, of the second set covers
    double common = 0;            // that both cover
};

// A polygon covers what an odd number of its outlines surround. The plane is cut into strips at the
// eastings at which edges end or cross; within a strip the edges stand in one order, and trapezoids
// between them are summed. Exact but for rounding, whatever the outlines do.
overlay_areas overlay(const std::vector<polygon>& first, const std::vector<polygon>& second);

// The size that outlines add up to: the outer one less the holes, as the library takes it.
double area_by_outlines(const polygon& area);

struct crossing {
    double x, y;
};
// Where two edges of the polygon cross: the westernmost such place. Edges that meet at their ends do
// not cross.
std::optional<crossing> first_crossing(const polygon& area);

} // namespace qmx_study
