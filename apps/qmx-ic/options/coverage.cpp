// qmx-ic coverage FILE: how much of an area has been compacted, by bins of pass counts.

#include <memory>

#include "options/commands.hpp"
#include "options/road.hpp"
#include "study/analyses/wrong_option.hpp"
#include "study/document/coverage_document.hpp"
#include "study/output/answer_tables.hpp"
#include "text/coverage_text.hpp"
#include "text/progress_line.hpp"

namespace qmx_terminal {

using namespace qmx_study;

namespace {

struct coverage_options {
    reading_options reading;
    coverage_question question;
    std::string mesh;
    std::string bins;
    std::string area, area_layer;
    std::string exclude, exclude_layer;
    output_options output;
    bool exit_code = false;
};

coverage_question question_of(const coverage_options& options) {
    coverage_question question = options.question;
    check(question);
    if (options.exit_code && !question.target_passes)
        throw wrong_option("--exit-code", " needs --target-passes");
    if (!options.mesh.empty()) question.mesh = read_mesh(options.mesh);
    question.included = read_polygons(options.area, options.area_layer);
    if (!options.exclude.empty())
        question.excluded = read_polygons(options.exclude, options.exclude_layer);
    if (!options.bins.empty()) question.bins = read_pass_bins(options.bins);
    return question;
}

void run(const coverage_options& options) {
    std::vector<std::string> inputs = options.reading.files();
    inputs.insert(inputs.end(), {options.area, options.exclude});
    check(options.output, inputs);
    const coverage_question question = question_of(options);
    progress shown(progress_line());
    loaded_lot lot = load(options.reading, needs_of(question), shown);
    coverage_answer answer = analyse(question, lot);
    if (!answer.failure.has_failed()) answer.output = options.output.output;
    if (!answer.output.empty()) write_table(answer.output, answer);
    show(answer, options.output.as_json, coverage_text);
    if (options.exit_code && !answer.target.is_met()) throw target_not_met();
}

} // namespace

void add_coverage_command(CLI::App& program) {
    const auto options = std::make_shared<coverage_options>();
    CLI::App* const command = program.add_subcommand(
        "coverage", "Compacted share of an area, by bins of pass counts, with a target");
    add_reading_options(*command, options->reading);
    const char* const areas = "Areas";
    command
        ->add_option(
            "--area", options->area,
            "The alignment: polygons from a vector format, a CSV with a WKT column, or a "
            "CSV with a vertex in each row (a column polygon, area or id separates several)")
        ->required()
        ->group(areas);
    command
        ->add_option("--exclude", options->exclude,
                     "Polygons to be left out of it, such as structures")
        ->group(areas);
    command->add_option("--area-layer", options->area_layer, "Layer of an area file with several")
        ->group(areas);
    command
        ->add_option("--exclude-layer", options->exclude_layer,
                     "Layer of an exclusion file with several")
        ->group(areas);
    const char* const analysis = "Analysis";
    command
        ->add_option("--mesh", options->mesh,
                     "Size of the cell that a point stands for, in the unit of the positions; "
                     "otherwise the spacing of positions that lie on a lattice")
        ->type_name("DX,DY")
        ->group(analysis);
    command
        ->add_option(
            "--bins", options->bins,
            "Bins of pass counts, such as 1-2,3-4,5- ; a count goes to the first bin that "
            "holds it. Otherwise one for each count, or those below and from the target on")
        ->type_name("LIST")
        ->group(analysis);
    command
        ->add_option("--target-passes", options->question.target_passes,
                     "Passes that a cell needs to count as finished")
        ->group(analysis);
    command
        ->add_option("--target-coverage", options->question.target_coverage,
                     "Percentage of the area that must have them")
        ->default_str("90")
        ->group(analysis);
    command
        ->add_flag("--all-records", options->question.all_records,
                   "Count every record of a cell; otherwise the last pass of each cell")
        ->group(analysis);
    command->add_flag("--exit-code", options->exit_code, "End with 3 when the target is missed")
        ->group("Output");
    add_output_options(*command, options->output, "the table of the bins");
    command->callback([options] { run(*options); });
}

} // namespace qmx_terminal
