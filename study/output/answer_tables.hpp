// The tables of answers, written under the names that users give.
#pragma once

#include <string>

#include "study/analyses/columns.hpp"
#include "study/analyses/coverage.hpp"
#include "study/analyses/grid.hpp"
#include "study/analyses/spots.hpp"
#include "study/analyses/stats.hpp"

namespace qmx_study {

// All throw usage_error when the file cannot be written.

// A row for each column of the file.
void write_table(const std::string& output, const columns_answer& answer);
// A row for each bin, then one for all of them and one for what is not covered.
void write_table(const std::string& output, const coverage_answer& answer);
// A row for each cell or each of its passes, with the centre of the cell as its position.
void write_table(const std::string& output, const grid_answer& answer);
// A row for each spot test.
void write_table(const std::string& output, const spots_answer& answer);
// Rows of three parts: the statistics, the quantiles, the classes of the histogram.
void write_table(const std::string& output, const stats_answer& answer);

} // namespace qmx_study
