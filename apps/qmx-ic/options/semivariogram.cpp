// qmx-ic semivariogram FILE: how the value varies with distance, and the model fitted to that.

#include <memory>

#include <fmt/format.h>

#include "options/commands.hpp"
#include "options/road.hpp"
#include "study/analyses/search_time.hpp"
#include "study/base/output_file.hpp"
#include "study/base/value_text.hpp"
#include "study/document/semivariogram_document.hpp"
#include "study/output/semivariogram_file.hpp"
#include "text/progress_line.hpp"
#include "text/semivariogram_text.hpp"

namespace qmx_terminal {

using namespace qmx_study;

namespace {

struct semivariogram_options {
    reading_options reading;
    semivariogram_question question;
    std::string output;
    bool as_json = false;
};

void tell(const work_ahead& work) {
    fmt::print(stderr, "qmx-ic: about {} for {} points{}\n", duration_text(work.seconds),
               count_text(work.points), work.counts_pairs ? ", half of it to count the pairs" : "");
}

void run(const semivariogram_options& options) {
    check(options.question);
    progress shown(progress_line());
    loaded_lot lot = load(options.reading, needs_of(options.question), shown);
    refuse_inputs_as_output(options.reading.files(), options.output);
    semivariogram_answer answer = analyse(options.question, lot, shown, tell);
    answer.output = options.output;
    if (!answer.output.empty()) write_semivariogram(answer.output, answer);
    show(answer, options.as_json, semivariogram_text);
}

void add_lag_options(CLI::App& command, semivariogram_question& question) {
    const char* const lags = "Lags";
    command
        .add_option("--lag", question.lag,
                    "Distance from lag to lag, in the unit of the positions; a lag reaches "
                    "half of it to either side. Otherwise proposed from the data")
        ->group(lags);
    command
        .add_option("--nlag", question.lags,
                    fmt::format("Number of lags, 1 to {}; otherwise as many as reach a third "
                                "of the diagonal of the points",
                                most_lags))
        ->group(lags);
    const char* const direction = "Direction";
    command
        .add_option("--azimuth", question.azimuth,
                    "Only pairs in this direction or its opposite, degrees clockwise from "
                    "north; otherwise all directions")
        ->group(direction);
    command
        .add_option("--tolerance", question.tolerance,
                    "Angle that a pair may be off the azimuth, degrees; 90 takes all")
        ->default_str("22.5")
        ->group(direction);
    command
        .add_option("--bandwidth", question.bandwidth,
                    "Distance that a pair's end may be off the axis of the azimuth, in the "
                    "unit of the positions; otherwise any")
        ->group(direction);
}

void add_model_options(CLI::App& command, semivariogram_question& question) {
    const char* const models = "Models";
    command
        .add_option("--value-scale", question.value_scale,
                    "Multiply the values by this for the library's model and scale the results "
                    "back; otherwise a factor that keeps it off the bounds of the fit")
        ->group(models);
    std::vector<std::string> keys;
    keys.reserve(std::size(all_weights));
    for (const lag_weights one : all_weights) keys.emplace_back(key_of(one));
    CLI::Option* const named =
        command
            .add_option_function<std::string>(
                "--weights",
                [&question](const std::string& key) {
                    for (const lag_weights one : all_weights)
                        if (key == key_of(one)) question.weights = one;
                },
                "What a lag weighs where the best model with a nugget is chosen; otherwise its "
                "pairs where they are counted")
            ->check(CLI::IsMember(keys))
            ->group(models);
    command
        .add_flag("--no-models", question.without_models,
                  "The library's model alone, none with a nugget")
        ->excludes(named)
        ->group(models);
}

void add_analysis_options(CLI::App& command, semivariogram_question& question) {
    const char* const analysis = "Analysis";
    command
        .add_flag("--standardise,--standardize", question.standardise,
                  "Divide the semivariances by the variance of the values")
        ->group(analysis);
    command
        .add_flag("--count-pairs", question.count_pairs,
                  "Count the pairs of each lag also where that takes seconds")
        ->group(analysis);
    CLI::Option* const last =
        command
            .add_flag("--last-pass", question.last_pass,
                      "The last pass of each cell, also where few cells have several records")
            ->group(analysis);
    command
        .add_flag("--all-records", question.all_records,
                  "All records of each cell; otherwise data of all passes give their last pass")
        ->excludes(last)
        ->group(analysis);
}

} // namespace

void add_semivariogram_command(CLI::App& program) {
    const auto options = std::make_shared<semivariogram_options>();
    CLI::App* const command = program.add_subcommand(
        "semivariogram", "How the value varies with distance, with fitted models");
    add_reading_options(*command, options->reading);
    add_lag_options(*command, options->question);
    add_model_options(*command, options->question);
    add_analysis_options(*command, options->question);
    command
        ->add_option("--output", options->output,
                     "Write the lags and the curves of the library's and the best model to a CSV")
        ->group("Output");
    add_json_option(*command, options->as_json);
    command->callback([options] { run(*options); });
}

} // namespace qmx_terminal
