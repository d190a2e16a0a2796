// The compaction curve: the mean of each pass, a quadratic through the means, and where the growth ends.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "study/analyses/library_call.hpp"
#include "study/lot/cells.hpp"
#include "study/lot/load.hpp"

namespace qmx_study {

inline constexpr std::int64_t least_points_of_a_pass = 100;
inline constexpr std::int32_t most_passes = 100000; // a number beyond is a slip

struct curve_question {
    double growth = 5; // percent
    std::int32_t least_points = least_points_of_a_pass;
    std::optional<std::int32_t> highest_pass; // otherwise that of the data
};

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

struct curve_answer {
    reading_account reading;
    compaction_curve curve;
    analysis_failure failure;     // also of a lot whose curve has no meaning
    std::vector<pass_row> passes; // those with records, and the gap that ends the curve
    double growth_limit = 0;      // percent
    std::int32_t grown_out = 0;   // first pass after which the mean grows by less; 0: there is none
    double last_growth = 0;       // with the pass after that
    bool has_growth = false;      // the means before the last are positive: it has a percentage
    cell_summary cells;
    std::string output; // file that the curve was written to, or ""
    std::vector<std::string> notes;

    bool has_curve() const { return !failure.has_failed(); }
};

// Value of the quadratic at a pass.
double quadratic(const t_fitout& fit, double pass);

// Throws usage_error where the question makes no sense.
void check(const curve_question& question);
reading_needs needs_of(const curve_question& question);
// Throws usage_error, analysis_error.
curve_answer analyse(const curve_question& question, loaded_lot& lot);
// points: those of the lot that have a pass number, at least one; cells: of them.
curve_answer analyse(const curve_question& question, const loaded_lot& lot,
                     std::vector<t_icdata> points, const cell_summary& cells);

} // namespace qmx_study
