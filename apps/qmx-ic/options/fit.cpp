// qmx-ic fit FILE: a polynomial through the pairs of two columns.

#include <memory>

#include "options/commands.hpp"
#include "options/road.hpp"
#include "study/document/fit_document.hpp"
#include "study/output/curve_file.hpp"
#include "text/fit_text.hpp"
#include "text/progress_line.hpp"

namespace qmx_terminal {

using namespace qmx_study;

namespace {

struct fit_options {
    reading_options reading;
    fit_question question;
    output_options output;
};

void run(const fit_options& options) {
    check(options.question);
    check(options.output, options.reading.files());
    progress shown(progress_line());
    loaded_lot lot = load_pairs(options.reading, shown);
    fit_answer answer = analyse(options.question, lot);
    if (answer.has_curve()) answer.output = options.output.output;
    if (!answer.output.empty())
        write_curve(answer.output, answer.reading.x.name, answer.reading.y.name, answer.x,
                    answer.y);
    show(answer, options.output.as_json, fit_text);
}

} // namespace

void add_fit_command(CLI::App& program) {
    const auto options = std::make_shared<fit_options>();
    CLI::App* const command =
        program.add_subcommand("fit", "A polynomial through the pairs of two columns");
    add_reading_options(*command, options->reading);
    const std::string group = "Analysis";
    command->get_option("--x")->description("Column of the abscissas");
    command->get_option("--y")->description("Column of the ordinates");
    for (const char* const unused : {"--value", "--pass", "--project"})
        command->remove_option(command->get_option(unused));
    command->add_option("--degree", options->question.degree, "Degree of the polynomial, 0 to 9")
        ->capture_default_str()
        ->group(group);
    command
        ->add_flag("--centre", options->question.centre,
                   "Subtract the middle of the abscissas before the fit, which keeps digits")
        ->group(group);
    add_output_options(*command, options->output, "the 100 points of the curve");
    command->callback([options] { run(*options); });
}

} // namespace qmx_terminal
