// Spot tests beside the IC data round them, and the line through the pairs.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "study/analyses/library_call.hpp"
#include "study/analyses/line_statistics.hpp"
#include "study/lot/load.hpp"

namespace qmx_study {

struct spots_question {
    double radius = 0;
    bool any_pass = false; // match with the IC data of all passes
    std::int32_t least_values = 2;
    int least_pairs = 10;
    double least_correlation = 0.7;
};

enum class spot_state {
    in_line,
    too_few,        // has IC data, but fewer than the line takes
    no_line,        // has IC data, but there is no line
    none_in_circle, // no IC data
    none_of_pass,   // IC data in the circle, none of the test's pass
};

struct spot_row {
    std::string name;      // from a column of the table, or the number of the test
    std::int64_t line = 0; // of a text; of other formats the record
    t_icdata test{};
    std::int32_t count = 0;             // IC values of the right pass in the circle
    double mean = 0, variation = 0;     // variation in percent; NaN where undefined
    double predicted = 0, residual = 0; // the mean by the line, and what the mean has beyond it
    spot_state state = spot_state::no_line;
    std::int32_t of_other_passes = 0; // in the circle, where there is none of the right pass
    double nearest = 0; // distance of the nearest IC point, where there is none in the circle
    bool has_stale_mean = false; // a single value: the line was given another test's mean
    std::string remark;
};

struct spot_line {
    int pairs = 0;
    double intercept = 0, slope = 0;
    double r_squared = 0; // percent
    double r = 0;         // with the sign of the slope
    line_statistics statistics;
};

struct spots_answer {
    reading_account reading, test_reading;
    double radius = 0;
    std::vector<spot_row> spots;
    std::optional<spot_line> line;
    bool is_supported = false; // by the thresholds
    double least_correlation = 0;
    int least_pairs = 0;
    std::int32_t least_values = 0;
    coordinate_system system; // of the positions
    analysis_failure failure;
    std::vector<std::string> notes;
    std::string output; // file that the table was written to, or ""
};

// The IC data, and the spot tests in their plane.
struct spot_tables {
    loaded_lot points, tests;
};

// Throws usage_error where the question makes no sense.
void check(const spots_question& question);
// Reads both tables. Throws usage_error; what it says of the tests names the options of these.
spot_tables load_spots(const reading_options& points, const reading_options& tests,
                       progress& shown);
// The same in steps, for points that are read once for several analyses: whose --project it is, and the
// tests in the plane of the points.
void share_projection(reading_options& options, const opened_table& points,
                      reading_options& test_options, const opened_table& tests);
loaded_lot read_tests(opened_table tests, const reading_options& options, const loaded_lot& points,
                      progress& shown);
// Throws usage_error, analysis_error. Points without a position lie in no circle.
spots_answer analyse(const spots_question& question, spot_tables& tables);
spots_answer analyse(const spots_question& question, const loaded_lot& points, loaded_lot& tests);

// The line's confidence band: limits for the mean roller value at a value of the test.
struct band_point {
    double value = 0, fitted = 0, lower = 0, upper = 0;
};
// At evenly spread values from the least test in the line to the greatest; empty where the pairs define
// no band.
std::vector<band_point> confidence_band(const spots_answer& answer, double percent);

} // namespace qmx_study
