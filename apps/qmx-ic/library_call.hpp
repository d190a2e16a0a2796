// Calls of the library that end well or throw.
#pragma once

#include <cstdint>
#include <vector>

#include <qmx_ic.h>

namespace qmx_ic_app {

// Statistics of all points; the fields of `result` that the library reads are set by the caller.
// Throws analysis_error with the text and the path of the event.
void run_statistics(bool pass_counts, bool below, const std::vector<t_icdata>& points,
                    t_statsout& result);

// Zero-based positions of the points in a circle or inside an outline, ascending.
std::vector<std::int32_t> points_in_circle(double x, double y, double radius,
                                           const std::vector<double>& point_x,
                                           const std::vector<double>& point_y);
std::vector<std::int32_t> points_in_outline(const std::vector<double>& vertex_x,
                                            const std::vector<double>& vertex_y,
                                            const std::vector<double>& point_x,
                                            const std::vector<double>& point_y);

} // namespace qmx_ic_app
