// The points of a lot inside a circle or inside polygons.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "study/lot/load.hpp"
#include "study/shapes/polygon_reader.hpp"

namespace qmx_study {

struct circle_shape {
    double x = 0, y = 0, radius = 0;
};

struct select_question {
    std::optional<circle_shape> circle;
    polygon_set areas; // where there is no circle
};

struct extents {
    double west = 0, east = 0, south = 0, north = 0;
};

// What the analysis took from a file of polygons.
struct areas_account {
    std::string file;
    std::size_t polygons = 0, holes = 0, vertices = 0;
    std::string assumption; // about the coordinate system, "" where none was needed
};
areas_account account_of(const polygon_set& areas, const std::string& assumption);

struct select_answer {
    reading_account reading;
    std::optional<circle_shape> circle;
    areas_account areas;               // where there is no circle
    std::vector<std::int64_t> records; // that were selected, ascending, from 1
    std::vector<std::int64_t> lines;   // the same as lines of a text
    extents all, selected;             // meaningless where there is no point
    std::string output;                // file that the rows were written to, or ""

    std::int64_t not_selected() const {
        return reading.rows_used - static_cast<std::int64_t>(records.size());
    }
};

// named: the reading options, since columns that nobody asks for are not read.
reading_needs needs_of(const select_question& question, const reading_options& named);
// Throws usage_error, analysis_error.
select_answer analyse(const select_question& question, loaded_lot& lot);

} // namespace qmx_study
