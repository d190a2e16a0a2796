// Chamber plot: a scatter plot drawn with characters, line by line, for the log files of a
// debugging session. Called by the toolkit's probability plots. It stands apart from statistics
// because it formats text and computes nothing that a result depends on.
//
// Around the points goes a frame whose sides carry ticks at round numbers: one every ten characters
// across, as far as the page width of PGOPT has room (1 to 12 intervals), and one every four lines
// upwards (up to 8 intervals). A point is drawn at the nearest character: * for one point, 2 to 9
// for so many points at the same place, # for more. Points with a coordinate that is not finite are
// left out.
#pragma once

#include "base/base_types.hpp"

#include <string_view>

namespace qmx::numeric {

// Where lines of printed output go. A line has no line break in it.
struct line_sink {
    void (*write)(void* context, std::string_view line);
    void* context;
};

//   NOBS                   points, 1 or more
//   X, Y                   [NOBS] abscissas, drawn to the right, and ordinates, drawn upwards
//   TITLE, XTITLE, YTITLE  of the plot, centred above it, and of its axes
//
// Errors of type 5, nothing is then drawn: 1 NOBS, 2 no point has finite coordinates. Allocates
// nothing.
void SCTP(const i32& NOBS, const f32* X, const f32* Y, std::string_view TITLE,
          std::string_view XTITLE, std::string_view YTITLE, const line_sink& sink);

} // namespace qmx::numeric
