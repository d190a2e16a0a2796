// Spot tests beside the IC data round them, and the line through the pairs, in text and in JSON.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "study/analyses/library_call.hpp"
#include "study/analyses/line_statistics.hpp"
#include "study/document/json_output.hpp"
#include "study/lot/lot_reader.hpp"

namespace qmx_study {

enum class spot_state {
    in_line,
    too_few,        // has IC data, but fewer than the line takes
    no_line,        // has IC data, but there is no line
    none_in_circle, // no IC data
    none_of_pass,   // IC data in the circle, none of the test's pass
};

struct spot_row {
    std::string name; // from a column of the table, or the number of the test
    std::int64_t record = 0;
    t_icdata test{};
    std::int32_t count = 0;                        // IC values of the right pass in the circle
    double mean = 0, variation = 0, predicted = 0; // variation in percent; NaN where undefined
    spot_state state = spot_state::no_line;
    std::int32_t of_other_passes = 0; // in the circle, where there is none of the right pass
    double nearest = 0; // distance of the nearest IC point, where there is none in the circle
    bool has_stale_mean = false; // a single value: the line was given another test's mean
};

struct spot_line {
    int pairs = 0;
    double intercept = 0, slope = 0;
    double r_squared = 0; // percent
    double r = 0;         // with the sign of the slope
    line_statistics statistics;
};

struct spots_report {
    spots_report(const table_source& from, const lot& used, const table_source& tests_from,
                 const lot& tests_used)
        : source(from), points(used), test_source(tests_from), tests(tests_used) {}

    const table_source& source;
    const lot& points;
    const table_source& test_source;
    const lot& tests;
    double radius = 0;
    std::vector<spot_row> spots;
    std::optional<spot_line> line;
    bool is_supported = false; // by the thresholds
    double least_correlation = 0;
    int least_pairs = 0;
    std::int32_t least_values = 0;
    std::optional<library_failure> failure;
    std::string explanation;
    std::vector<std::string> notes;
};

std::string spots_text(const spots_report& report);
json spots_json(const spots_report& report);

} // namespace qmx_study
