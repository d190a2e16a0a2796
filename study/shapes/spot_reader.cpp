#include "study/shapes/spot_reader.hpp"

#include <algorithm>
#include <cmath>

#include <fmt/format.h>

#include "study/base/errors.hpp"
#include "study/lot/plane.hpp"
#include "study/lot/projection.hpp"

namespace qmx_study {

namespace {

constexpr std::int32_t all_passes = -1;

// Calls visit(position of the test) with the source at its record.
template <class Visit> void for_each_test(table_source& source, const lot& tests, Visit visit) {
    source.rewind();
    for (std::size_t i = 0; i < tests.records.size() && source.next();)
        if (source.record() == tests.records[i]) visit(i++);
    source.refuse_if_changed();
}

// A pass number that was not read stands as 0: an empty field means all passes, anything else is an
// error, since a test that lost its pass would be matched with the wrong data.
void settle_passes(table_source& source, const row_survey& survey, lot& tests) {
    if (!tests.pass.found()) {
        for (t_icdata& test : tests.points) test.i_passno = all_passes;
        return;
    }
    for_each_test(source, tests, [&](std::size_t i) {
        t_icdata& test = tests.points[i];
        if (test.i_passno != 0) return;
        const text_value field = survey.read(source, tests.pass.index);
        if (field.kind == text_kind::missing) {
            test.i_passno = all_passes;
        } else if (field.value != 0) {
            throw usage_error(fmt::format("{}, {}, column {}: \"{}\" is no number of a pass; leave "
                                          "the field empty for all passes",
                                          source.file, source.place(source.record()),
                                          tests.pass.name, source.text(tests.pass.index)));
        }
    });
}

void bring_to_plane(const table_source& source, lot& tests, const lot& points) {
    if (tests.system && points.system) {
        if (tests.system->is_same_as(*points.system)) return;
        std::vector<double> x, y;
        for (const t_icdata& test : tests.points) {
            x.push_back(test.d_x);
            y.push_back(test.d_y);
        }
        transform(*tests.system, *points.system, x, y);
        for (std::size_t i = 0; i < x.size(); ++i) {
            if (std::isnan(x[i]))
                throw usage_error(fmt::format("{}, {}: the position {}, {} has no place in {}",
                                              source.file, source.place(tests.records[i]),
                                              tests.points[i].d_x, tests.points[i].d_y,
                                              points.system->name()));
            tests.points[i].d_x = x[i];
            tests.points[i].d_y = y[i];
        }
        tests.system = points.system;
        tests.is_geographic = false;
        tests.is_projected = true;
        tests.x.unit = tests.y.unit = points.x.unit;
        return;
    }
    refuse_degrees(source, tests);
    if (!tests.x.unit.empty() && !points.x.unit.empty() && tests.x.unit != points.x.unit)
        throw usage_error(fmt::format("{}: positions are in {}, those of the IC data in {}; bring "
                                      "both to one unit",
                                      source.file, tests.x.unit, points.x.unit));
}

} // namespace

lot read_spot_tests(table_source& source, const row_survey& survey, const reading_options& options,
                    const lot& points, progress& shown) {
    reading_needs needs;
    needs.position = need::required;
    needs.are_spot_tests = true;
    lot tests = read_lot(source, survey, options, needs, shown);
    settle_passes(source, survey, tests);
    bring_to_plane(source, tests, points);
    return tests;
}

std::vector<std::string> spot_names(table_source& source, const lot& tests) {
    std::vector<std::string> names;
    for (std::size_t i = 0; i < tests.points.size(); ++i) names.push_back(fmt::format("{}", i + 1));
    int column = -1;
    for (const char* const name :
         {"spot", "test", "name", "id", "no", "number", "point", "station"})
        if (column < 0) column = source.column_named(name);
    if (column < 0) return names;
    for_each_test(source, tests, [&](std::size_t i) {
        const std::string_view text = trimmed(source.text(column));
        if (!text.empty()) names[i] = text;
    });
    return names;
}

} // namespace qmx_study
