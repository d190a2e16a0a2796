// The alignment of a coverage: its polygons as the library's area records, and what is odd about them.
#pragma once

#include <string>
#include <vector>

#include <qmx_ic.h>

#include "study/shapes/polygon_reader.hpp"

namespace qmx_study {

// One record for each outline: outer outlines of `included` and holes of `excluded` add their size,
// the others subtract it. A vertex that closes its outline again is left out. Throws usage_error for
// an outline with more vertices than a record takes.
std::vector<t_areaflt> area_records(const polygon_set& included, const polygon_set& excluded);

// Notes on polygons whose sizes do not simply add up: areas of a set that overlap, exclusions outside
// the included areas, outlines that cross themselves. area_unit: for the texts.
std::vector<std::string> area_notes(const polygon_set& included, const polygon_set& excluded,
                                    const std::string& area_unit);

// Says so when points and polygons lie apart from each other altogether: throws usage_error.
void refuse_distant_areas(const polygon_set& included, const std::vector<double>& x,
                          const std::vector<double>& y);

} // namespace qmx_study
