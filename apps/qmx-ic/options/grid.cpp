// qmx-ic grid FILE: the tracks of machines on a lattice of cells, pass by pass.

#include <memory>
#include <string>

#include "options/commands.hpp"
#include "options/road.hpp"
#include "study/document/grid_document.hpp"
#include "study/output/answer_tables.hpp"
#include "text/grid_text.hpp"
#include "text/progress_line.hpp"

namespace qmx_terminal {

using namespace qmx_study;

namespace {

struct grid_options {
    reading_options reading;
    grid_question question;
    std::string passes = "last";
    output_options output;
};

grid_question question_of(const grid_options& options) {
    grid_question question = options.question;
    if (options.passes == "mean") question.passes = grid_passes::mean;
    if (options.passes == "all") question.passes = grid_passes::all;
    check(question);
    return question;
}

void run(const grid_options& options) {
    const grid_question question = question_of(options);
    check(options.output, options.reading.files());
    progress shown(progress_line());
    loaded_lot lot = load(options.reading, needs_of(question), shown);
    grid_answer answer = analyse(question, lot, shown);
    answer.output = options.output.output;
    if (!answer.output.empty()) write_table(answer.output, answer);
    shown.clear();
    show(answer, options.output.as_json, grid_text);
}

} // namespace

void add_grid_command(CLI::App& program) {
    const auto options = std::make_shared<grid_options>();
    CLI::App* const command = program.add_subcommand(
        "grid", "Puts the tracks of machines on a lattice of cells, pass by pass");
    command->footer(
        "The rows must stand in the order in which they were recorded. At each place the drum\n"
        "covers the ground from halfway to the place before to halfway to the next one, as wide "
        "as\n"
        "--drum-width across the heading; records nearer than half a cell to a place belong to "
        "it,\n"
        "with their mean value. A cell whose centre is covered gets the value of the place. A "
        "pass\n"
        "is an unbroken visit of a cell, with the mean of its places as its value; PassCount is\n"
        "counted from these visits. Cells have their corners at whole multiples of --cell.\n");
    add_reading_options(*command, options->reading);
    command->remove_option(command->get_option("--pass"));
    const char* const group = "Lattice";
    command
        ->add_option("--cell", options->question.cell,
                     "Side of a cell, in the unit of the positions")
        ->required()
        ->group(group);
    command
        ->add_option("--drum-width", options->question.drum_width,
                     "Width of the drum; without it a record counts for its own cell alone")
        ->group(group);
    command
        ->add_option("--passes", options->passes,
                     "Of each cell the value of the last pass and the number of passes, the mean "
                     "of its passes and their number, or all passes, a row each: last, mean or all")
        ->check(CLI::IsMember({"last", "mean", "all"}))
        ->capture_default_str()
        ->group(group);
    command
        ->add_option("--gap", options->question.gap,
                     "Records farther apart do not follow one another; otherwise ten times the "
                     "median distance of successive records")
        ->group(group);
    command
        ->add_option("--track", options->question.track,
                     "Column that tells machines apart whose records stand mixed")
        ->group(group);
    add_output_options(*command, options->output, "the cells");
    command->callback([options] { run(*options); });
}

} // namespace qmx_terminal
