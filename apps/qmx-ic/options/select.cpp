// qmx-ic select FILE: the points inside a circle or inside polygons.

#include <memory>
#include <string>
#include <vector>

#include <fmt/format.h>

#include "options/commands.hpp"
#include "options/road.hpp"
#include "study/analyses/wrong_option.hpp"
#include "study/base/number_text.hpp"
#include "study/document/select_document.hpp"
#include "study/output/row_writer.hpp"
#include "text/progress_line.hpp"
#include "text/select_text.hpp"

namespace qmx_terminal {

using namespace qmx_study;

namespace {

struct select_options {
    reading_options reading;
    std::string circle;
    std::string polygons;
    std::string polygon_layer;
    output_options output;
};

circle_shape read_circle(const std::string& text) {
    std::vector<std::string> parts(1);
    for (const char c : text) {
        if (c == ',') {
            parts.emplace_back();
        } else {
            parts.back() += c;
        }
    }
    circle_shape result;
    if (parts.size() != 3 || !read_plain_number(parts[0], result.x) ||
        !read_plain_number(parts[1], result.y) || !read_plain_number(parts[2], result.radius) ||
        result.radius < 0)
        throw wrong_option("--circle",
                           " \"{}\": three numbers are wanted, easting, northing and a radius of 0 "
                           "or more, such as 421500,4864200,10",
                           text);
    return result;
}

select_question question_of(const select_options& options) {
    if (options.circle.empty() == options.polygons.empty())
        throw usage_error("select needs one of --circle x,y,r and --polygon FILE");
    select_question question;
    if (!options.circle.empty()) {
        question.circle = read_circle(options.circle);
    } else {
        question.areas = read_polygons(options.polygons, options.polygon_layer);
    }
    return question;
}

// As they stand in the file: positions that were projected are written in degrees.
position_columns positions_of(const lot& points) {
    return {points.x.index, points.y.index, points.is_projected ? wgs84() : points.system,
            points.x.unit};
}

void run(const select_options& options) {
    const select_question question = question_of(options);
    std::vector<std::string> inputs = options.reading.files();
    inputs.push_back(options.polygons);
    check(options.output, inputs);
    progress shown(progress_line());
    loaded_lot lot = load(options.reading, needs_of(question, options.reading), shown);
    select_answer answer = analyse(question, lot);
    answer.output = options.output.output;
    if (!answer.output.empty())
        write_rows(*lot.table.source, answer.records, positions_of(lot.data), lot.table.survey,
                   answer.output, shown);
    show(answer, options.output.as_json, select_text);
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
            "each row (a column polygon, area or id separates several outlines)")
        ->excludes(circle_option)
        ->group(group);
    command->add_option("--polygon-layer", options->polygon_layer, "Layer of a file with several")
        ->group(group);
    add_output_options(*command, options->output, "the selected rows, all columns,");
    command->callback([options] { run(*options); });
}

} // namespace qmx_terminal
