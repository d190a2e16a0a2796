// The coverage of an alignment by bins of pass counts, in text and in JSON.
#pragma once

#include <string>
#include <vector>

#include <qmx_ic.h>

#include "study/analyses/mesh.hpp"
#include "study/analyses/pass_bins.hpp"
#include "study/document/json_output.hpp"
#include "study/lot/cells.hpp"
#include "study/lot/lot_reader.hpp"
#include "study/shapes/polygon_reader.hpp"

namespace qmx_study {

// What became of the points that were read.
struct area_selection {
    std::int64_t read = 0;
    std::int64_t outside = 0;  // of every included area
    std::int64_t excluded = 0; // inside one, but in an excluded area
    std::int64_t inside() const { return read - outside - excluded; }
};

struct coverage_target {
    std::int32_t passes = 0; // 0: there is no target
    float required = 90;     // percent of the area
    float achieved = 0;      // by points of that many passes or more
    bool is_met() const { return achieved >= required; }
};

struct coverage_report {
    coverage_report(const table_source& from, const lot& used) : source(from), points(used) {}

    const table_source& source;
    const lot& points;
    polygon_set included, excluded;
    std::string included_assumption, excluded_assumption; // about their coordinate systems
    area_selection selection;
    bool all_records = false;
    std::int64_t earlier_passes = 0; // records left out for the last pass of each cell
    cell_summary cells;
    mesh_size mesh;
    bool mesh_is_derived = false;
    std::vector<t_passbin> bins;
    std::vector<t_binresult> results; // of each bin
    bin_counts counts;
    coverage_target target;
    std::vector<std::string> notes;

    std::string area_unit() const; // of the results, "" where the unit of length is not known
    double covered_area() const;   // by all bins
    double coverage() const;       // by all bins, percent
    float plan_area() const { return results.empty() ? 0 : results.front().x_plan_area; }
};

std::string coverage_text(const coverage_report& report);
json coverage_json(const coverage_report& report);

} // namespace qmx_study
