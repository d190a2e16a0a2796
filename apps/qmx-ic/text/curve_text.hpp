// The compaction curve of a lot, in text and in JSON.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "study/analyses/library_call.hpp"
#include "study/document/json_output.hpp"
#include "study/lot/cells.hpp"
#include "study/lot/lot_reader.hpp"

namespace qmx_study {

inline constexpr std::int64_t least_points_of_a_pass = 100;

// Why a pass is not in the curve.
enum class left_out { no, too_few, gap, after_the_end, no_curve };

struct pass_row {
    std::int32_t pass = 0;
    std::int64_t points = 0;
    double mean = 0, deviation = 0; // NaN where there are too few values for them
    double growth = 0;              // percent of the mean before, NaN where there is none
    double fitted = 0;              // of the curve at this pass, NaN without one
    left_out reason = left_out::no;
};

struct curve_report {
    curve_report(const table_source& from, const lot& used) : source(from), points(used) {}

    const table_source& source;
    const lot& points;
    compaction_curve curve;
    std::optional<library_failure> failure;
    std::string explanation;      // of a failure, and of a lot whose curve has no meaning
    std::vector<pass_row> passes; // those with records, and the gap that ends the curve
    double growth_limit = 0;      // percent
    std::int32_t grown_out = 0;   // first pass after which the mean grows by less; 0: there is none
    cell_summary cells;
    std::string output;
    std::vector<std::string> notes;

    bool has_curve() const { return explanation.empty(); }
};

// Value of the quadratic at a pass.
double quadratic(const t_fitout& fit, double pass);

std::string curve_text(const curve_report& report);
json curve_json(const curve_report& report);

} // namespace qmx_study
