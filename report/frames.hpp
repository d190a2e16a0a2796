// Where the pixels of a map lie: along a strip, or in the plan.
#pragma once

#include <cstdint>
#include <vector>

#include "report/cell_index.hpp"

namespace qmx_report {

// Cells by pixel, row by row from the top; -1 where none is.
struct raster {
    std::int64_t columns = 0, rows = 0;
    std::vector<std::int32_t> cell;
};

// A strip by station from left to right and offset from top to bottom, cut into folds of equal length.
// The raster holds the folds one below the other.
struct strip_frame {
    double first_station = 0, station_step = 1; // edge of the first column; width of one
    double first_offset = 0, offset_step = 1;
    std::int64_t columns = 0, rows = 0, folds = 0; // columns and rows of one fold
    int exaggeration = 1;                          // offsets are drawn so many times as large
    double thinning = 1; // spacings of cells to a pixel; above 1 some are left out
};

// North is up; the edges of the first pixel at left and top.
struct plan_frame {
    double left = 0, top = 0, step = 1;
    std::int64_t columns = 0, rows = 0;
    double thinning = 1;
};

// At the size of the cells where that gives at most so many pixels, else thinned.
strip_frame strip_of(const qmx_study::road_frame& road, const map_lattice& lattice,
                     std::int64_t most_pixels);
plan_frame plan_of(const qmx_study::cell_table& cells, const map_lattice& lattice,
                   std::int64_t most_pixels);

// By inverse sampling: each pixel shows the cell at its centre, so that a lattice turned against the
// map gives no holes and no stripes.
raster draw(const strip_frame& frame, const qmx_study::road_frame& road, const cell_index& index);
// Where pixels are larger than cells each shows the cell nearest to its centre, so that a road narrower
// than a pixel is not broken.
raster draw(const plan_frame& frame, const qmx_study::cell_table& cells, const map_lattice& lattice,
            const cell_index& index);

} // namespace qmx_report
