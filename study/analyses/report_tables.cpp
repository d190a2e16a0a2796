#include "study/analyses/report_tables.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

#include <fmt/format.h>

#include "study/analyses/area_selection.hpp"
#include "study/analyses/polygon_filter.hpp"

namespace qmx_study {

namespace {

constexpr std::size_t most_vertices = 20000; // drawn over the maps

void mark(report_answer& answer, const char* role, const std::string& file) {
    if (!file.empty()) answer.inputs.push_back({role, file, mark_of_file(file)});
}

// A file of polygons is closed before its hash is taken: one that was changed meanwhile is refused.
polygon_set read_marked(report_answer& answer, const char* role, const std::string& file) {
    if (file.empty()) return {};
    const file_stamp before = stamp_of_file(file);
    polygon_set areas = read_polygons(file, "");
    mark(answer, role, file);
    refuse_if_changed(file, before);
    return areas;
}

void mark_table(report_answer& answer, const char* role, loaded_lot& table) {
    table_source& source = *table.table.source;
    for (std::size_t k = 0; k < source.part_count(); ++k)
        answer.inputs.push_back({role, source.part(k).file, source.mark_of_part(k)});
}

reading_needs needs_of_report(const job_settings& settings) {
    reading_needs needs;
    needs.value = need::taken;
    needs.keep_rows_without_value = true;
    needs.mark_missing_passes = true;
    if (settings.filters.polygon.empty()) needs.traits = &settings.traits;
    return needs;
}

reading_options test_options_of(const job_settings& settings) {
    reading_options options;
    options.file = settings.tests;
    options.value = settings.tests_value;
    options.missing = settings.reading.missing;
    return options;
}

// What cannot be brought to the plane of the cells is not drawn; the part that needs it says why.
void draw(report_answer& answer, const char* role, polygon_set areas, const lot& points) {
    if (areas.polygons.empty() || !points.has_positions()) return;
    try {
        align(areas, points);
        answer.outlines.push_back({role, std::move(areas.polygons)});
    } catch (const usage_error&) {}
}

void filter_by_place(const job_settings& settings, report_answer& answer, loaded_lot& lot) {
    const std::string& file = settings.filters.polygon;
    if (file.empty()) return;
    const file_stamp before = stamp_of_file(file);
    keep_points_inside(lot, file);
    draw(answer, "filter_polygon", read_marked(answer, "filter_polygon", file), lot.data);
    refuse_if_changed(file, before);
    std::vector<std::int64_t> in_use;
    for (std::size_t i = 0; i < lot.data.records.size(); ++i)
        if (lot.data.without_value == 0 || !std::isnan(lot.data.points[i].d_val))
            in_use.push_back(lot.data.records[i]);
    answer.traits = summarise_traits(*lot.table.source, lot.table.survey, settings.traits, in_use);
}

// Every k-th vertex of each ring, where there are too many to draw.
void thin(report_answer& answer) {
    std::size_t vertices = 0;
    const auto each_ring = [&](auto&& visit) {
        for (drawn_outlines& drawn : answer.outlines)
            for (polygon& area : drawn.polygons) {
                visit(area.outer);
                for (outline& hole : area.holes) visit(hole);
            }
    };
    each_ring([&](const outline& ring) { vertices += ring.x.size(); });
    if (vertices <= most_vertices) return;
    answer.outlines_are_thinned = true;
    const std::size_t step = vertices / most_vertices + 1;
    each_ring([&](outline& ring) {
        if (ring.x.size() < 3 * step) return;
        outline thinned;
        for (std::size_t i = 0; i < ring.x.size(); i += step) {
            thinned.x.push_back(ring.x[i]);
            thinned.y.push_back(ring.y[i]);
        }
        ring = std::move(thinned);
    });
}

} // namespace

report_tables read_report_tables(const job_settings& settings, report_answer& answer,
                                 progress& shown) {
    reading_options options = settings.reading;
    reading_options test_options = test_options_of(settings);
    opened_table table = open_table(options, shown);
    opened_table test_table;
    if (!settings.tests.empty()) {
        test_table = open_table(test_options, shown);
        share_projection(options, table, test_options, test_table);
    }
    const lot_conditions conditions{settings.filters, settings.traits};
    report_tables tables;
    tables.lot = read_table(std::move(table), options, needs_of_report(settings), shown,
                            settings.filters.is_given() ? &conditions : nullptr);
    answer.traits = tables.lot.data.traits;
    mark_table(answer, "points", tables.lot);
    filter_by_place(settings, answer, tables.lot);
    if (!settings.tests.empty()) {
        // The tests of a lot without a plane can be read, but not matched: that part is missing.
        if (tables.lot.data.has_positions() && !tables.lot.data.is_geographic) {
            tables.tests = read_tests(std::move(test_table), test_options, tables.lot, shown);
            mark_table(answer, "tests", *tables.tests);
        } else {
            mark(answer, "tests", settings.tests);
        }
    }
    tables.included = read_marked(answer, "area", settings.area);
    tables.excluded = read_marked(answer, "excluded_area", settings.excluded_area);
    mark(answer, "job", settings.job_file);
    if (settings.job_stamp) refuse_if_changed(settings.job_file, *settings.job_stamp);
    draw(answer, "area", tables.included, tables.lot.data);
    draw(answer, "excluded_area", tables.excluded, tables.lot.data);
    thin(answer);
    return tables;
}

} // namespace qmx_study
