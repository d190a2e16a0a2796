// The statistics of one measure: fifteen numbers, histogram, percent levels and target test.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <qmx_ic.h>

#include "study/analyses/lot_notes.hpp"
#include "study/analyses/quantiles.hpp"
#include "study/lot/cells.hpp"
#include "study/lot/load.hpp"

namespace qmx_study {

struct stats_question {
    bool pass_counts = false; // the values are pass counts
    std::optional<double> target;
    std::optional<double> target_percent; // 90 where none is given
    bool below = false;                   // values at or below the target count
    std::vector<double> levels{10, 90};   // two
    bool last_pass = false;               // of each cell, also where few cells have several records
    bool all_records = false;             // are meant, though a cell has several
};

// The verdict, on the values one by one.
struct counted_target {
    double value = 0;
    double required = 90; // percent
    counted_share share;
    bool is_met() const { return share.percent() >= required; }
};

// A number of the library's fifteen that answers show.
struct statistic {
    int index; // in x_stat
    const char* key;
    int power; // of the unit of the measure
};
inline constexpr statistic listed_statistics[] = {{0, "mean", 1},
                                                  {2, "standard_deviation", 1},
                                                  {8, "coefficient_of_variation", 0},
                                                  {1, "variance", 2},
                                                  {3, "skewness", 0},
                                                  {4, "excess_kurtosis", 0},
                                                  {5, "minimum", 1},
                                                  {6, "maximum", 1},
                                                  {7, "range", 1},
                                                  {10, "mean_lower_95", 1},
                                                  {11, "mean_upper_95", 1},
                                                  {12, "variance_lower_95", 2},
                                                  {13, "variance_upper_95", 2}};
std::string unit_to_power(const std::string& unit, int power);

struct stats_answer {
    reading_account reading;
    std::vector<quantile> quantiles; // type 7: the asked levels, the quartiles and the median
    std::optional<counted_target> target;
    t_statsout result{}; // what the library leaves alone is NaN, or 0 where it is an integer
    bool pass_counts = false;
    bool below = false;
    bool last_pass = false;          // of each cell was taken
    std::int64_t earlier_passes = 0; // records left out for the last pass of each cell
    cell_summary cells;
    std::vector<std::string> notes;
    std::string output; // file that the table was written to, or ""

    bool is_constant() const { return !pass_counts && result.i_numbins == 1; }
    // The library's own test of the target, read off its histogram.
    bool has_histogram_target() const { return result.i_target_met != 0; }
    int classes() const; // of the histogram
    std::string value_unit() const;
};

// Throws usage_error where the question makes no sense.
void check(const stats_question& question);
reading_needs needs_of(const stats_question& question);
// Throws usage_error, analysis_error.
stats_answer analyse(const stats_question& question, loaded_lot& lot);
// Of a lot whose finished layer was taken before.
stats_answer analyse(const stats_question& question, const loaded_lot& lot,
                     const finished_layer& layer);

} // namespace qmx_study
