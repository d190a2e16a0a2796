// How much of an area has been compacted, by bins of pass counts.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <qmx_ic.h>

#include "study/analyses/library_events.hpp"
#include "study/analyses/mesh.hpp"
#include "study/analyses/pass_bins.hpp"
#include "study/analyses/select.hpp"
#include "study/lot/cells.hpp"
#include "study/lot/load.hpp"
#include "study/shapes/polygon_reader.hpp"

namespace qmx_study {

struct turned_lattice {
    mesh_size mesh;
    double angle = 0; // degrees anticlockwise from the eastings
};

struct coverage_question {
    polygon_set included, excluded;
    std::optional<mesh_size> mesh; // otherwise the spacing of the positions
    // The lattice that the cells were found to lie on, turned against the axes. It stands where the
    // positions stand in no lines along the axes and no mesh is named.
    std::optional<turned_lattice> lattice;
    std::vector<t_passbin> bins; // empty: chosen by the counts and the target
    bool all_records = false;    // of a cell count; otherwise its last pass
    std::optional<std::int32_t> target_passes;
    std::optional<double> target_coverage; // percent, 90 where none is given
};

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

struct coverage_answer {
    reading_account reading;
    areas_account included, excluded;
    area_selection selection;
    bool all_records = false;
    std::int64_t earlier_passes = 0; // records left out for the last pass of each cell
    cell_summary cells;
    mesh_size mesh;
    double angle = 0; // of a lattice turned against the axes, degrees
    bool mesh_is_derived = false;
    std::optional<double> scatter; // of the positions about their cells, to which they were moved
    std::vector<t_passbin> bins;
    std::vector<t_binresult> results; // of each bin
    bin_counts counts;
    double covered_area = 0; // by all bins
    double coverage = 0;     // by all bins, percent
    float plan_area = 0;
    double not_covered = 0;   // the rest of the plan area
    std::string area_unit;    // "" where the unit of length is not known
    double square_metres = 0; // of one unit of area; 0 where that is not known
    coverage_target target;   // without a verdict where the analysis failed
    analysis_failure failure; // what keeps the data from carrying a verdict
    std::vector<std::string> notes;
    std::string output; // file that the table was written to, or ""

    bool has_verdict() const { return target.passes > 0 && !failure.has_failed(); }
};

// Throws usage_error where the question makes no sense.
void check(const coverage_question& question);
reading_needs needs_of(const coverage_question& question);
// Throws usage_error, analysis_error.
coverage_answer analyse(const coverage_question& question, loaded_lot& lot);

// The last passes of a lot's cells, and how many records each cell had; their values are pass counts.
struct compacted_cells {
    lot cells; // columns, units and system are those of the lot
    std::vector<std::uint32_t> records;
};
coverage_answer analyse(const coverage_question& question, const loaded_lot& lot,
                        compacted_cells cells);

} // namespace qmx_study
