// qmx-ic spots FILE TESTS: IC data round each spot test, and the line through the pairs.

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>

#include <fmt/format.h>

#include "options/command.hpp"
#include "options/reading_options.hpp"
#include "study/document/failure_report.hpp"
#include "study/lot/column_choice.hpp"
#include "study/lot/value_range.hpp"
#include "study/analyses/area_selection.hpp"
#include "study/shapes/spot_reader.hpp"
#include "text/spots_report.hpp"
#include "text/text_table.hpp"

namespace qmx_study {

namespace {

constexpr double unknown = std::numeric_limits<double>::quiet_NaN();
constexpr std::int32_t all_passes = -1;
constexpr double most_probable_chance = 0.05; // p of a slope beyond which it may be chance
constexpr std::size_t tests_with_distance = 50;
constexpr std::size_t names_in_a_note = 20;

struct spots_options {
    reading_options reading;
    reading_options tests;
    double radius = 0;
    bool any_pass = false;
    std::int32_t least_values = 2;
    int least_pairs = 10;
    double least_correlation = 0.7;
    bool as_json = false;
};

reading_needs needs_of_points() {
    reading_needs needs;
    needs.position = need::required;
    return needs;
}

// The options of the second table have names of their own.
template <class Reading> auto reading_tests(Reading read) {
    try {
        return read();
    } catch (const usage_error& error) {
        const std::string message = error.what();
        const bool names_option = message.find("--x") != std::string::npos ||
                                  message.find("--value") != std::string::npos ||
                                  message.find("--pass") != std::string::npos;
        throw usage_error(message + (names_option ? "\n  for the spot tests these options are "
                                                    "--test-x, --test-y, --test-value, --test-pass"
                                                  : ""));
    }
}

// --project is for the table in degrees; the other one may be planar.
void part_projection(spots_options& options, const table_source& source, const row_survey& survey,
                     const table_source& test_source, const row_survey& test_survey) {
    const reading_needs needs = needs_of_points();
    const bool in_degrees = choose_columns(source, survey, options.reading, needs).is_geographic;
    const bool tests_in_degrees = reading_tests([&] {
        return choose_columns(test_source, test_survey, options.tests, needs).is_geographic;
    });
    // Tests in degrees beside IC data in degrees follow these to their plane.
    if (tests_in_degrees && !in_degrees) std::swap(options.reading.project, options.tests.project);
}

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
void explain_empty(spots_report& report) {
    const std::vector<t_icdata>& tests = report.tests.points;
    const auto is_empty = [&](std::size_t i) { return report.spots[i].count == 0; };
    std::vector<t_icdata> empty = only(tests, is_empty);
    for (t_icdata& test : empty) test.i_passno = all_passes;
    spot_matches matches;
    run_spot_tests(report.radius, report.points.points, empty, matches); // only the counts matter
    std::size_t measured = 0;
    for (std::size_t i = 0; i < tests.size(); ++i) {
        spot_row& spot = report.spots[i];
        if (!is_empty(i)) continue;
        spot.of_other_passes = matches.statistics[i].i_numdata;
        spot.state =
            spot.of_other_passes > 0 ? spot_state::none_of_pass : spot_state::none_in_circle;
        if (spot.state == spot_state::none_in_circle && measured++ < tests_with_distance)
            spot.nearest = nearest_distance(report.points.points, tests[i]);
    }
}

// The one IC value of a test, which the library's statistics do not tell.
double single_value(const spots_report& report, const t_icdata& test) {
    for (const t_icdata& point : report.points.points) {
        const double dx = point.d_x - test.d_x;
        const double dy = point.d_y - test.d_y;
        if (dx * dx + dy * dy <= report.radius * report.radius &&
            (test.i_passno < 0 || point.i_passno == test.i_passno))
            return point.d_val;
    }
    return unknown;
}

void fill_spots(spots_report& report, const spot_matches& matches,
                const std::vector<std::string>& names) {
    const lot& tests = report.tests;
    for (std::size_t i = 0; i < tests.points.size(); ++i) {
        const t_statsout& statistics = matches.statistics[i];
        spot_row spot;
        spot.name = names[i];
        spot.record = tests.records[i];
        spot.test = tests.points[i];
        spot.count = statistics.i_numdata;
        spot.mean = spot.variation = spot.predicted = spot.nearest = unknown;
        if (spot.count == 1) {
            spot.mean = single_value(report, spot.test);
        } else if (spot.count > 1) {
            spot.mean = static_cast<double>(statistics.x_stat[0]);
            spot.variation = 100 * static_cast<double>(statistics.x_stat[8]);
        }
        if (spot.count > 0 && spot.count < report.least_values) spot.state = spot_state::too_few;
        report.spots.push_back(std::move(spot));
    }
}

void fill_line(spots_report& report, const spot_matches& matches) {
    spot_line line;
    std::vector<double> x, y;
    for (const std::int32_t position : matches.valid) {
        const auto i = static_cast<std::size_t>(position) - 1;
        spot_row& spot = report.spots[i];
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
    report.line = line;
    report.is_supported = line.pairs >= report.least_pairs && line.r >= report.least_correlation &&
                          line.statistics.p <= most_probable_chance;
}

std::string names_where(const spots_report& report, bool (*holds)(const spot_row&)) {
    std::string names;
    std::size_t count = 0;
    for (const spot_row& spot : report.spots) {
        if (!holds(spot)) continue;
        if (++count <= names_in_a_note) names += (count == 1 ? "" : ", ") + spot.name;
    }
    if (count > names_in_a_note) names += fmt::format(" and {} more", count - names_in_a_note);
    return names;
}

void note_line(spots_report& report) {
    const spot_line& line = *report.line;
    const auto note = [&](std::string text) { report.notes.push_back(std::move(text)); };
    if (line.pairs < report.least_pairs)
        note(fmt::format("The line rests on {} pairs only; {} or more are wanted.", line.pairs,
                         report.least_pairs));
    if (std::isnan(line.r) || std::isnan(line.statistics.p)) {
        note("The spot values, or the IC means, do not vary: there is no line to speak of.");
        return;
    }
    if (line.slope < 0)
        note("The slope is negative: where the spot tests read more, the roller reads less.");
    if (!(line.r >= report.least_correlation))
        note(fmt::format("r is {:.3f}, below {}: the cloud does not support a line.", line.r,
                         report.least_correlation));
    if (line.statistics.p > most_probable_chance)
        note(fmt::format("A slope of this size may be chance (p {:.2f}).", line.statistics.p));
}

void add_notes(spots_report& report, const spots_options& options) {
    if (report.line) note_line(report);
    const auto list = [&](bool (*holds)(const spot_row&), const char* text) {
        if (const std::string names = names_where(report, holds); !names.empty())
            report.notes.push_back(fmt::format(fmt::runtime(text), names));
    };
    list([](const spot_row& spot) { return spot.has_stale_mean; },
         "The line is WRONG for tests with a single IC value: for these the library takes the mean "
         "of another test. They are: {}. --min-ic 2 keeps them out.");
    list([](const spot_row& spot) { return spot.state == spot_state::too_few; },
         "Not in the line, for too few IC values (--min-ic): {}.");
    list([](const spot_row& spot) { return spot.state == spot_state::none_in_circle; },
         "Without IC data in the circle: {}. A larger --radius may reach some.");
    list([](const spot_row& spot) { return spot.state == spot_state::none_of_pass; },
         "Without IC data of their pass: {}. --any-pass matches tests with all passes.");
    if (!report.points.pass.found() && report.tests.pass.found() && !options.any_pass)
        report.notes.push_back("The IC data have no column of pass numbers: the tests are matched "
                               "with all records.");
    if (report.points.candidates.size() > 1 && options.reading.value.empty())
        report.notes.push_back("The value column was chosen among several; --value names another.");
    if (report.tests.candidates.size() > 1 && options.tests.value.empty())
        report.notes.push_back("The value column of the spot tests was chosen among several; "
                               "--test-value names another.");
}

std::string explanation_of(const spots_report& report) {
    if (!report.failure) return {};
    if (std::string memory = explanation_of_memory(*report.failure); !memory.empty()) return memory;
    const auto with_data = std::count_if(report.spots.begin(), report.spots.end(),
                                         [](const spot_row& spot) { return spot.count > 0; });
    const auto enough =
        std::count_if(report.spots.begin(), report.spots.end(), [&](const spot_row& spot) {
            return spot.count >= std::max(report.least_values, 1);
        });
    std::string text =
        fmt::format("IC data lie round {} of {} spot tests", with_data, report.spots.size());
    if (enough < with_data)
        text += fmt::format(", {} values or more round {}", report.least_values, enough);
    return text + "; a line takes 3.";
}

void run_spots(const spots_options& given) {
    spots_options options = given;
    if (!(options.radius >= 0) || !std::isfinite(options.radius))
        throw usage_error(
            fmt::format("--radius {}: a length of 0 or more is wanted", options.radius));
    progress shown;
    table_source source(options.reading.file, options.reading.layer, shown);
    table_source test_source(options.tests.file, options.tests.layer, shown);
    options.tests.missing = options.reading.missing;
    const row_survey survey =
        survey_rows(source, missing_texts_of(options.reading), decimal_of(options.reading));
    const row_survey test_survey =
        survey_rows(test_source, missing_texts_of(options.tests), decimal_of(options.tests));
    part_projection(options, source, survey, test_source, test_survey);

    const lot points = read_lot(source, survey, options.reading, needs_of_points(), shown);
    refuse_degrees(source, points);
    refuse_values_too_large(source, points);
    lot tests = reading_tests(
        [&] { return read_spot_tests(test_source, test_survey, options.tests, points, shown); });
    for (used_column* const column : {&tests.x, &tests.y, &tests.value, &tests.pass})
        if (const std::string usual = "named by --"; column->why.starts_with(usual))
            column->why.insert(usual.size(), "test-");
    refuse_values_too_large(test_source, tests);
    if (options.any_pass || !points.pass.found())
        for (t_icdata& test : tests.points) test.i_passno = all_passes;

    spots_report report(source, points, test_source, tests);
    report.radius = options.radius;
    report.least_values = options.least_values;
    report.least_pairs = options.least_pairs;
    report.least_correlation = options.least_correlation;
    spot_matches matches;
    report.failure = run_spot_tests(options.radius, points.points, tests.points, matches);
    fill_spots(report, matches, spot_names(test_source, tests));
    const auto is_thin = [&](std::size_t i) {
        return report.spots[i].state == spot_state::too_few;
    };
    bool any_thin = false;
    for (std::size_t i = 0; i < report.spots.size(); ++i) any_thin |= is_thin(i);
    if (any_thin) // the line without them
        report.failure = run_spot_tests(options.radius, points.points,
                                        only(tests.points, std::not_fn(is_thin)), matches);
    if (!report.failure) fill_line(report, matches);
    explain_empty(report);
    report.explanation = explanation_of(report);
    add_notes(report, options);
    if (options.as_json) {
        print_document(spots_json(report));
    } else {
        fmt::print("{}", spots_text(report));
    }
    end_failed(report.failure, report.explanation);
}

} // namespace

void add_spots_command(CLI::App& program) {
    const auto options = std::make_shared<spots_options>();
    CLI::App* const command = program.add_subcommand(
        "spots", "Spot tests: the IC data round each, and the line through the pairs");
    add_reading_options(*command, options->reading);
    command
        ->add_option("TESTS", options->tests.file,
                     "Spot tests: a table with position, value and, where known, pass number")
        ->required();
    const std::string group = "Spot tests";
    command->add_option("--test-x", options->tests.x, "Column of their eastings")->group(group);
    command->add_option("--test-y", options->tests.y, "Column of their northings")->group(group);
    command->add_option("--test-value", options->tests.value, "Column of their values")
        ->group(group);
    command
        ->add_option(
            "--test-pass", options->tests.pass,
            "Column of the pass after which they were made; an empty cell means all passes")
        ->group(group);
    command->add_option("--test-layer", options->tests.layer, "Layer of a file with several")
        ->group(group);
    const std::string analysis = "Analysis";
    command
        ->add_option("--radius", options->radius,
                     "Of the circle round each spot test, rim included, unit of the positions")
        ->required()
        ->group(analysis);
    command->add_flag("--any-pass", options->any_pass, "Match with the IC data of all passes")
        ->group(analysis);
    command
        ->add_option("--min-ic", options->least_values,
                     "Fewest IC values with which a test enters the line")
        ->check(CLI::Range(1, std::numeric_limits<std::int32_t>::max()))
        ->capture_default_str()
        ->group(analysis);
    command->add_option("--min-n", options->least_pairs, "Warn of a line on fewer pairs")
        ->capture_default_str()
        ->group(analysis);
    command->add_option("--min-r", options->least_correlation, "Warn of a correlation below")
        ->capture_default_str()
        ->group(analysis);
    command->add_flag("--json", options->as_json, "Print JSON")->group("Output");
    command->callback([options] { run_spots(*options); });
}

} // namespace qmx_study
