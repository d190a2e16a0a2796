// The two tables of a comparison with spot tests, brought into one plane.

#include <utility>

#include "study/analyses/area_selection.hpp"
#include "study/analyses/spots.hpp"
#include "study/base/errors.hpp"
#include "study/lot/column_choice.hpp"
#include "study/lot/value_range.hpp"
#include "study/shapes/spot_reader.hpp"

namespace qmx_study {

namespace {

reading_needs needs_of_tables() {
    reading_needs needs;
    needs.position = need::required;
    return needs;
}

// The options of the second table have names of their own.
template <class Reading> auto reading_tests(Reading read) {
    try {
        return read();
    } catch (const usage_error& error) {
        const std::string& option = error.place.option;
        if (option != "--x" && option != "--y" && option != "--value" && option != "--pass") throw;
        throw usage_error(error.what() +
                              std::string("\n  for the spot tests these options are --test-x, "
                                          "--test-y, --test-value, --test-pass"),
                          error_place{"--test-" + option.substr(2), error.place.file,
                                      error.place.line, error.place.column});
    }
}

} // namespace

// --project is for the table in degrees; the other one may be planar.
void share_projection(reading_options& options, const opened_table& points,
                      reading_options& test_options, const opened_table& tests) {
    const auto in_degrees = [](const opened_table& table, const reading_options& named,
                               bool are_tests) {
        reading_needs needs = needs_of_tables();
        needs.are_spot_tests = are_tests;
        if (!are_tests) { // what they lack is told by whoever needs it
            needs.position = need::taken;
            needs.value = need::unused;
        }
        return choose_columns(*table.source, table.survey, named, needs).is_geographic;
    };
    const bool points_in_degrees = in_degrees(points, options, false);
    const bool tests_in_degrees =
        reading_tests([&] { return in_degrees(tests, test_options, true); });
    // Tests in degrees beside IC data in degrees follow these to their plane.
    if (tests_in_degrees && !points_in_degrees) std::swap(options.project, test_options.project);
}

spot_tables load_spots(const reading_options& points, const reading_options& tests,
                       progress& shown) {
    reading_options options = points;
    reading_options test_options = tests;
    test_options.missing = options.missing;
    opened_table table = open_table(options, shown);
    opened_table test_table = open_table(test_options, shown);
    share_projection(options, table, test_options, test_table);

    spot_tables result{read_table(std::move(table), options, needs_of_tables(), shown), {}};
    refuse_degrees(result.points.source(), result.points.data);
    refuse_values_too_large(result.points.source(), result.points.data);
    result.tests = read_tests(std::move(test_table), test_options, result.points, shown);
    return result;
}

loaded_lot read_tests(opened_table tests, const reading_options& options, const loaded_lot& points,
                      progress& shown) {
    loaded_lot result;
    lot& read = result.data;
    read = reading_tests(
        [&] { return read_spot_tests(*tests.source, tests.survey, options, points.data, shown); });
    result.table = std::move(tests);
    result.value_is_chosen = options.value.empty() && read.candidates.size() > 1;
    for (used_column* const column : {&read.x, &read.y, &read.value, &read.pass})
        if (const std::string usual = "named by --"; column->why.starts_with(usual))
            column->why.insert(usual.size(), "test-");
    refuse_values_too_large(result.source(), read);
    return result;
}

} // namespace qmx_study
