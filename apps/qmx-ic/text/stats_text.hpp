// The statistics of a lot, in text and in JSON.
#pragma once

#include <string>
#include <vector>

#include <qmx_ic.h>

#include "study/document/json_output.hpp"
#include "study/lot/cells.hpp"
#include "study/lot/lot_reader.hpp"

namespace qmx_study {

struct stats_report {
    stats_report(const table_source& from, const lot& used) : source(from), points(used) {}

    const table_source& source;
    const lot& points;
    t_statsout
        result{}; // outputs that the library leaves alone are NaN, or 0 where they are integers
    bool pass_counts = false;
    bool below = false;
    bool last_pass = false;
    std::int64_t earlier_passes = 0; // records left out for the last pass of each cell
    cell_summary cells;
    std::vector<std::string> notes;

    bool is_constant() const { return !pass_counts && result.i_numbins == 1; }
    bool has_verdict() const { return result.i_target_met != 0; }
};

std::string stats_text(const stats_report& report);
json stats_json(const stats_report& report);

} // namespace qmx_study
