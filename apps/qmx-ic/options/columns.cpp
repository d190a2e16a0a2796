// qmx-ic columns FILE: what the program recognises in a file, and which rows it would drop.

#include <memory>

#include "options/commands.hpp"
#include "options/road.hpp"
#include "study/document/columns_document.hpp"
#include "study/output/answer_tables.hpp"
#include "text/columns_text.hpp"
#include "text/progress_line.hpp"

namespace qmx_terminal {

using namespace qmx_study;

namespace {

struct columns_options {
    reading_options reading;
    output_options output;
};

void run(const columns_options& options) {
    check(options.output, options.reading.files());
    progress shown(progress_line());
    const columns_question question;
    loaded_lot lot = load(options.reading, needs_of(question), shown);
    columns_answer answer = analyse(question, options.reading, lot, shown);
    answer.output = options.output.output;
    if (!answer.output.empty()) write_table(answer.output, answer);
    show(answer, options.output.as_json, columns_text);
}

} // namespace

void add_columns_command(CLI::App& program) {
    const auto options = std::make_shared<columns_options>();
    CLI::App* const command = program.add_subcommand(
        "columns", "What is recognised in a file, and which rows would be dropped");
    add_reading_options(*command, options->reading);
    add_output_options(*command, options->output, "the columns");
    command->callback([options] { run(*options); });
}

} // namespace qmx_terminal
