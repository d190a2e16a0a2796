// qmx-ic select FILE: the points inside a circle or inside polygons.

#include <algorithm>
#include <cmath>
#include <memory>

#include <fmt/format.h>

#include "options/command.hpp"
#include "options/reading_options.hpp"
#include "study/analyses/library_call.hpp"
#include "study/base/number_text.hpp"
#include "study/lot/lot_reader.hpp"
#include "study/output/row_writer.hpp"
#include "study/analyses/area_selection.hpp"
#include "study/shapes/polygon_reader.hpp"
#include "text/select_report.hpp"
#include "text/text_table.hpp"

namespace qmx_study {

namespace {

struct select_options {
    reading_options reading;
    std::string circle;
    std::string polygons;
    std::string polygon_layer;
    std::string output;
    bool as_json = false;
};

struct circle {
    double x = 0, y = 0, radius = 0;
};

circle read_circle(const std::string& text) {
    std::vector<std::string> parts(1);
    for (const char c : text) {
        if (c == ',') {
            parts.emplace_back();
        } else {
            parts.back() += c;
        }
    }
    circle result;
    if (parts.size() != 3 || !read_plain_number(parts[0], result.x) ||
        !read_plain_number(parts[1], result.y) || !read_plain_number(parts[2], result.radius) ||
        result.radius < 0)
        throw usage_error(
            fmt::format("--circle \"{}\": three numbers are wanted, easting, northing "
                        "and a radius of 0 or more, such as 421500,4864200,10",
                        text));
    return result;
}

std::string describe(const polygon_set& areas) {
    std::string text =
        fmt::format("{} polygon{} with {} vertices from {}", areas.polygons.size(),
                    areas.polygons.size() == 1 ? "" : "s", areas.vertices, areas.file);
    if (areas.polygons.size() > 1) text += "; points in any of them";
    if (areas.holes > 0)
        text += fmt::format("; {} hole{} left out", areas.holes, areas.holes == 1 ? "" : "s");
    return text;
}

void run_select(const select_options& options) {
    if (options.circle.empty() == options.polygons.empty())
        throw usage_error("select needs one of --circle x,y,r and --polygon FILE");
    progress shown;
    circle shape;
    polygon_set areas;
    if (!options.circle.empty()) {
        shape = read_circle(options.circle);
    } else {
        areas = read_polygons(options.polygons, options.polygon_layer);
    }
    table_source source(options.reading.file, options.reading.layer, shown);
    const row_survey survey =
        survey_rows(source, missing_texts_of(options.reading), decimal_of(options.reading));
    reading_needs needs;
    needs.position = need::required;
    needs.value = options.reading.value.empty() ? need::unused : need::complete;
    needs.pass = options.reading.pass.empty() ? need::unused : need::complete;
    const lot points = read_lot(source, survey, options.reading, needs, shown);
    refuse_degrees(source, points);

    select_report report{source, points, {}, {}, {}, {}, {}, options.output};
    std::vector<double> x(points.points.size());
    std::vector<double> y(points.points.size());
    for (std::size_t i = 0; i < points.points.size(); ++i) {
        x[i] = points.points[i].d_x;
        y[i] = points.points[i].d_y;
    }
    if (!options.circle.empty()) {
        report.indices = points_in_circle(shape.x, shape.y, shape.radius, x, y);
        report.shape = fmt::format("circle of radius {} about {}, {}, its rim included",
                                   number_text(shape.radius), coordinate_text(shape.x, false),
                                   coordinate_text(shape.y, false));
        report.shape_json = {
            {"kind", "circle"}, {"x", shape.x}, {"y", shape.y}, {"radius", shape.radius}};
    } else {
        const std::string aligned = align(areas, points);
        const std::vector<bool> is_inside = points_inside(areas, x, y);
        for (std::size_t i = 0; i < is_inside.size(); ++i)
            if (is_inside[i]) report.indices.push_back(static_cast<std::int32_t>(i));
        report.shape = describe(areas) + aligned;
        report.shape_json = {{"kind", "polygons"},
                             {"file", areas.file},
                             {"polygons", areas.polygons.size()},
                             {"holes", areas.holes},
                             {"vertices", areas.vertices}};
    }
    const auto bounds_of = [&](auto&& index, std::size_t count) {
        extents bounds{INFINITY, -INFINITY, INFINITY, -INFINITY};
        for (std::size_t i = 0; i < count; ++i) {
            const std::size_t at = index(i);
            bounds.west = std::min(bounds.west, x[at]);
            bounds.east = std::max(bounds.east, x[at]);
            bounds.south = std::min(bounds.south, y[at]);
            bounds.north = std::max(bounds.north, y[at]);
        }
        return bounds;
    };
    report.all = bounds_of([](std::size_t i) { return i; }, x.size());
    report.selected =
        bounds_of([&](std::size_t i) { return static_cast<std::size_t>(report.indices[i]); },
                  report.indices.size());
    if (!options.output.empty()) {
        std::vector<std::int64_t> records;
        for (const std::int32_t index : report.indices)
            records.push_back(points.records[static_cast<std::size_t>(index)]);
        write_rows(source, records, options.output, shown);
    }
    if (options.as_json) {
        print_document(select_json(report));
    } else {
        fmt::print("{}", select_text(report));
    }
}

} // namespace

void add_select_command(CLI::App& program) {
    const auto options = std::make_shared<select_options>();
    CLI::App* const command =
        program.add_subcommand("select", "The points inside a circle or inside polygons");
    add_reading_options(*command, options->reading);
    const std::string group = "Shape";
    CLI::Option* const circle_option =
        command
            ->add_option("--circle", options->circle,
                         "Easting, northing and radius, say 421500,4864200,10")
            ->group(group);
    command
        ->add_option(
            "--polygon", options->polygons,
            "Areas from a vector format, a CSV with a WKT column, or a CSV with a vertex in "
            "each row (a column polygon, area or id parts several outlines)")
        ->excludes(circle_option)
        ->group(group);
    command->add_option("--polygon-layer", options->polygon_layer, "Layer of a file with several")
        ->group(group);
    command
        ->add_option("--output", options->output, "Write the selected rows, all columns, to a CSV")
        ->group("Output");
    command->add_flag("--json", options->as_json, "Print JSON")->group("Output");
    command->callback([options] { run_select(*options); });
}

} // namespace qmx_study
