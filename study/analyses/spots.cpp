#include "study/analyses/spots.hpp"

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>

#include <fmt/format.h>

#include "study/analyses/lot_notes.hpp"
#include "study/analyses/spot_notes.hpp"
#include "study/analyses/wrong_option.hpp"
#include "study/shapes/spot_reader.hpp"

namespace qmx_study {

namespace {

constexpr double unknown = std::numeric_limits<double>::quiet_NaN();
constexpr std::int32_t all_passes = -1;
constexpr std::size_t tests_with_distance = 50;

// The tests for which `wanted` holds, in their places; the others lie nowhere.
template <class Wanted>
std::vector<t_icdata> only(const std::vector<t_icdata>& tests, Wanted wanted) {
    std::vector<t_icdata> kept = tests;
    for (std::size_t i = 0; i < kept.size(); ++i)
        if (!wanted(i)) kept[i].d_x = kept[i].d_y = unknown;
    return kept;
}

double nearest_distance(const std::vector<t_icdata>& points, const t_icdata& test) {
    double least = std::numeric_limits<double>::infinity();
    for (const t_icdata& point : points) {
        const double dx = point.d_x - test.d_x;
        const double dy = point.d_y - test.d_y;
        least = std::min(least, dx * dx + dy * dy);
    }
    return std::sqrt(least);
}

// Tests without IC data: matched once more with the data of all passes, which tells why.
void explain_empty(spots_answer& answer, const std::vector<t_icdata>& points,
                   const std::vector<t_icdata>& tests) {
    const auto is_empty = [&](std::size_t i) { return answer.spots[i].count == 0; };
    std::vector<t_icdata> empty = only(tests, is_empty);
    for (t_icdata& test : empty) test.i_passno = all_passes;
    spot_matches matches;
    run_spot_tests(answer.radius, points, empty, matches); // only the counts matter
    std::size_t measured = 0;
    for (std::size_t i = 0; i < tests.size(); ++i) {
        spot_row& spot = answer.spots[i];
        if (!is_empty(i)) continue;
        spot.of_other_passes = matches.statistics[i].i_numdata;
        spot.state =
            spot.of_other_passes > 0 ? spot_state::none_of_pass : spot_state::none_in_circle;
        if (spot.state == spot_state::none_in_circle && measured++ < tests_with_distance)
            spot.nearest = nearest_distance(points, tests[i]);
    }
}

// The one IC value of a test, which the library's statistics do not tell.
double single_value(const std::vector<t_icdata>& points, const t_icdata& test, double radius) {
    for (const t_icdata& point : points) {
        const double dx = point.d_x - test.d_x;
        const double dy = point.d_y - test.d_y;
        if (dx * dx + dy * dy <= radius * radius &&
            (test.i_passno < 0 || point.i_passno == test.i_passno))
            return point.d_val;
    }
    return unknown;
}

void fill_spots(spots_answer& answer, const std::vector<t_icdata>& points,
                const loaded_lot& test_table, const spot_matches& matches) {
    const lot& tests = test_table.data;
    const std::vector<std::string> names = spot_names(*test_table.table.source, tests);
    for (std::size_t i = 0; i < tests.points.size(); ++i) {
        const t_statsout& statistics = matches.statistics[i];
        spot_row spot;
        spot.name = names[i];
        spot.line = test_table.source().line_of(tests.records[i]);
        spot.test = tests.points[i];
        spot.count = statistics.i_numdata;
        spot.mean = spot.variation = spot.predicted = spot.nearest = unknown;
        if (spot.count == 1) {
            spot.mean = single_value(points, spot.test, answer.radius);
        } else if (spot.count > 1) {
            spot.mean = static_cast<double>(statistics.x_stat[0]);
            spot.variation = 100 * static_cast<double>(statistics.x_stat[8]);
        }
        if (spot.count > 0 && spot.count < answer.least_values) spot.state = spot_state::too_few;
        answer.spots.push_back(std::move(spot));
    }
}

void fill_line(spots_answer& answer, const spot_matches& matches) {
    spot_line line;
    std::vector<double> x, y;
    for (const std::int32_t position : matches.valid) {
        const auto i = static_cast<std::size_t>(position) - 1;
        spot_row& spot = answer.spots[i];
        spot.state = spot_state::in_line;
        spot.predicted = matches.predicted[i];
        spot.has_stale_mean = spot.count == 1;
        x.push_back(spot.test.d_val);
        y.push_back(static_cast<double>(matches.statistics[i].x_stat[0]));
    }
    line.pairs = static_cast<int>(x.size());
    line.intercept = static_cast<double>(matches.intercept);
    line.slope = static_cast<double>(matches.slope);
    line.r_squared = static_cast<double>(matches.r_squared);
    line.r = std::copysign(std::sqrt(line.r_squared / 100), line.slope);
    line.statistics = statistics_of_line(x, y);
    answer.line = line;
    answer.is_supported = line.pairs >= answer.least_pairs && line.r >= answer.least_correlation &&
                          line.statistics.p <= most_probable_chance;
}

// Matches tests and points, and once more without the tests that have too few values.
void match(spots_answer& answer, const std::vector<t_icdata>& points,
           const loaded_lot& test_table) {
    const std::vector<t_icdata>& tests = test_table.data.points;
    spot_matches matches;
    answer.failure.event = run_spot_tests(answer.radius, points, tests, matches);
    fill_spots(answer, points, test_table, matches);
    const auto has_enough = [&](std::size_t i) {
        return answer.spots[i].state != spot_state::too_few;
    };
    const bool any_thin =
        std::any_of(answer.spots.begin(), answer.spots.end(),
                    [](const spot_row& spot) { return spot.state == spot_state::too_few; });
    if (any_thin)
        answer.failure.event =
            run_spot_tests(answer.radius, points, only(tests, has_enough), matches);
    if (!answer.failure.event) fill_line(answer, matches);
}

} // namespace

void check(const spots_question& question) {
    if (!(question.radius >= 0) || !std::isfinite(question.radius))
        throw wrong_option("--radius", " {}: a length of 0 or more is wanted", question.radius);
}

spots_answer analyse(const spots_question& question, spot_tables& tables) {
    return analyse(question, tables.points, tables.tests);
}

spots_answer analyse(const spots_question& question, const loaded_lot& points, loaded_lot& tests) {
    const bool has_pass = points.data.pass.found();
    if (question.any_pass || !has_pass)
        for (t_icdata& test : tests.data.points) test.i_passno = all_passes;
    spots_answer answer;
    answer.system = points.data.system;
    answer.reading = account_of(points);
    answer.test_reading = account_of(tests);
    answer.radius = question.radius;
    answer.least_values = question.least_values;
    answer.least_pairs = question.least_pairs;
    answer.least_correlation = question.least_correlation;
    match(answer, points.data.points, tests);
    explain_empty(answer, points.data.points, tests.data.points);
    for (spot_row& spot : answer.spots) spot.residual = spot.mean - spot.predicted;
    explain_failure(answer);
    add_remarks(answer);
    add_notes(answer);
    if (!has_pass && tests.data.pass.found() && !question.any_pass)
        answer.notes.push_back("The IC data have no column of pass numbers: the tests are matched "
                               "with all records.");
    note_chosen_value(answer.notes, points);
    if (tests.value_is_chosen)
        answer.notes.push_back("The value column of the spot tests was chosen among several; "
                               "--test-value names another.");
    return answer;
}

std::vector<band_point> confidence_band(const spots_answer& answer, double percent) {
    constexpr int steps = 40;
    if (!answer.line || answer.line->pairs < 3) return {};
    std::vector<double> values;
    for (const spot_row& spot : answer.spots)
        if (spot.state == spot_state::in_line) values.push_back(spot.test.d_val);
    const auto [least, most] = std::minmax_element(values.begin(), values.end());
    const double n = static_cast<double>(values.size());
    double mean = 0, squares = 0;
    for (const double value : values) mean += (value - *least) / n;
    mean += *least;
    for (const double value : values) squares += (value - mean) * (value - mean);
    const spot_line& line = *answer.line;
    const double t = student_quantile(percent, line.pairs - 2);
    std::vector<band_point> band;
    for (int k = 0; k <= steps; ++k) {
        band_point point;
        point.value = k == steps ? *most : *least + (*most - *least) * k / steps;
        point.fitted = line.intercept + line.slope * point.value;
        const double away = point.value - mean;
        const double half =
            t * line.statistics.standard_error * std::sqrt(1 / n + away * away / squares);
        point.lower = point.fitted - half;
        point.upper = point.fitted + half;
        if (!std::isfinite(half)) return {};
        band.push_back(point);
    }
    return band;
}

} // namespace qmx_study
