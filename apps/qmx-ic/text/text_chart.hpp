// A plot of points and a curve in characters.
#pragma once

#include <string>
#include <vector>

namespace qmx_terminal {

struct plotted {
    std::vector<double> x, y; // pairs with a NaN are not drawn
};

// Points as "●", the curve (its points joined) as "·", in a frame that spans both; the corners carry
// their coordinates. The names stand above the frame and below it. "" where nothing can be drawn.
std::string chart_text(const plotted& points, const plotted& curve, const std::string& x_name,
                       const std::string& y_name);

} // namespace qmx_terminal
