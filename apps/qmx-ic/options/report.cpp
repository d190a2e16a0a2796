// qmx-ic report FILE...: all analyses of a lot as a page that is signed, and as a document and tables.

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <fmt/chrono.h>
#include <fmt/format.h>

#include "options/commands.hpp"
#include "options/road.hpp"
#include "report/page.hpp"
#include "study/analyses/report.hpp"
#include "study/analyses/wrong_option.hpp"
#include "study/base/number_text.hpp"
#include "study/base/output_file.hpp"
#include "study/document/report_document.hpp"
#include "study/job/input_files.hpp"
#include "study/job/job_file.hpp"
#include "study/output/cell_file.hpp"
#include "study/output/report_tables.hpp"
#include "study/output/table_writer.hpp"
#include "text/progress_line.hpp"
#include "text/report_text.hpp"

namespace qmx_terminal {

using namespace qmx_study;

namespace {

struct report_options {
    CLI::App* command = nullptr;
    std::string job;
    reading_options reading;
    // What the command line says beyond the reading: laid over the job file in the order given.
    std::vector<std::function<void(job_settings&)>> changes;
    bool as_json = false;
    bool exit_code = false;
};

std::string now() {
    return fmt::format("{:%Y-%m-%dT%H:%M:%SZ}", fmt::gmtime(std::time(nullptr)));
}

void lay_reading_over(job_settings& settings, const report_options& options) {
    const auto given = [&](const char* name) { return options.command->count(name) > 0; };
    const reading_options& from = options.reading;
    reading_options& to = settings.reading;
    if (given("FILE")) {
        to.file = from.file;
        to.further_files = from.further_files;
    }
    using text_option = std::pair<const char*, std::string reading_options::*>;
    for (const auto& [name, field] :
         {text_option{"--x", &reading_options::x}, text_option{"--y", &reading_options::y},
          text_option{"--value", &reading_options::value},
          text_option{"--pass", &reading_options::pass},
          text_option{"--where", &reading_options::where},
          text_option{"--decimal", &reading_options::decimal},
          text_option{"--comment", &reading_options::comment},
          text_option{"--layer", &reading_options::layer},
          text_option{"--crs", &reading_options::crs},
          text_option{"--project", &reading_options::project}})
        if (given(name)) to.*field = from.*field;
    to.threads = from.threads;
    if (given("--missing")) to.missing = from.missing;
    if (given("--header-line")) to.header_line = from.header_line;
}

job_settings settings_of(const report_options& options) {
    job_settings settings;
    if (!options.job.empty())
        settings = read_job(options.job);
    else
        settings.thresholds = thresholds_of(settings.preset);
    lay_reading_over(settings, options);
    for (const auto& change : options.changes) change(settings);
    if (settings.reading.file.empty())
        throw usage_error("FILE is required: name the points, or a job file that does");
    if (settings.time_stamp.empty()) settings.time_stamp = now();
    return settings;
}

// Before anything is read.
void check(const job_settings& settings, bool as_json) {
    const std::vector<std::string> inputs = input_files(settings);
    std::vector<std::string> outputs;
    for (const std::string& output : {settings.report, settings.document, settings.cells}) {
        if (output.empty()) continue;
        refuse_inputs_as_output(inputs, output);
        if (std::find(outputs.begin(), outputs.end(), output) != outputs.end())
            throw usage_error(fmt::format("{} is named for two outputs; give each a name", output));
        outputs.push_back(output);
    }
    if (as_json && std::find(outputs.begin(), outputs.end(), "-") != outputs.end())
        throw wrong_option("--json", " and an output named - both want standard output");
    if (!settings.cells.empty()) check_output_name(settings.cells);
    if (!settings.report.empty())
        qmx_report::check(qmx_report::page_options{settings.language, settings.logo});
}

// What is no file is printed once the files stand.
void write_outputs(const job_settings& settings, const lot_report& report, const json& document,
                   progress& shown) {
    output_set files;
    std::string printed;
    const auto add = [&](const char* option, const std::string& output, const std::string& text) {
        if (output == "-") {
            printed = text;
        } else if (!output.empty()) {
            files.add(option, output, text);
        }
    };
    if (!settings.report.empty())
        add("--output", settings.report,
            qmx_report::page_of(document, report.cells, {settings.language, settings.logo}));
    if (!settings.document.empty()) add("--document", settings.document, text_of(document));
    if (!settings.tables.empty()) add_report_tables(files, settings.tables, document);
    if (!settings.cells.empty()) write_cells(settings.cells, report, shown);
    files.finish();
    if (!settings.tables.empty()) remove_old_tables(settings.tables, document);
    if (!printed.empty()) print_answer(printed);
}

// What was written, or how to get the page.
std::string written(const job_settings& settings) {
    std::string text;
    for (const std::string& output :
         {settings.report, settings.document, settings.tables, settings.cells})
        if (!output.empty() && output != "-") text += fmt::format("  {}\n", output);
    if (settings.report.empty())
        text += "  no page: -o report.html writes one, with maps and charts\n";
    return "\nWritten\n" + text;
}

bool has_missed(const report_answer& answer) {
    for (const verdict& each : answer.verdicts)
        if (each.result == outcome::missed) return true;
    return false;
}

void run(const report_options& options) {
    const job_settings settings = settings_of(options);
    check(settings, options.as_json);
    progress shown(progress_line());
    const lot_report report = report_of(settings, shown);
    const json document = document_of(report.answer);
    write_outputs(settings, report, document, shown);
    shown.clear();
    const bool is_taken =
        settings.report == "-" || settings.document == "-" || settings.cells == "-";
    print_answer(options.as_json ? text_of(document) : report_text(document) + written(settings),
                 is_taken ? stderr : stdout);
    if (options.exit_code && has_missed(report.answer)) throw target_not_met();
}

// Adds an option that changes one setting.
template <class Value>
CLI::Option* change(report_options& options, const char* name, const char* what,
                    std::function<void(job_settings&, const Value&)> apply) {
    return options.command->add_option_function<Value>(
        name,
        [&options, apply](const Value& value) {
            options.changes.emplace_back(
                [apply, value](job_settings& settings) { apply(settings, value); });
        },
        what);
}
void text_option(report_options& options, const char* name, const char* what,
                 std::string job_settings::*field, const char* group) {
    change<std::string>(
        options, name, what,
        [field](job_settings& settings, const std::string& text) { settings.*field = text; })
        ->group(group);
}
template <class Number>
void number_option(report_options& options, const char* name, const char* what,
                   std::optional<Number> job_settings::*field, const char* group) {
    change<Number>(options, name, what, [field](job_settings& settings, const Number& number) {
        settings.*field = number;
    })->group(group);
}

void add_analysis_options(report_options& options) {
    const char* const group = "Analysis";
    text_option(options, "--tests", "Table of the spot tests", &job_settings::tests, group);
    text_option(options, "--area", "Polygons of the alignment, for the coverage",
                &job_settings::area, group);
    text_option(options, "--exclude", "Polygons that are left out of it",
                &job_settings::excluded_area, group);
    number_option<double>(options, "--target", "Target value of the measure", &job_settings::target,
                          group);
    number_option<double>(options, "--minimum", "Minimum of the evenness rule",
                          &job_settings::minimum, group);
    number_option<std::int32_t>(
        options, "--target-passes",
        "Passes that the layer needs; otherwise read off the compaction curve",
        &job_settings::target_passes, group);
    number_option<double>(options, "--radius", "Of the circle round each spot test",
                          &job_settings::radius, group);
    number_option<double>(options, "--lag", "Of the semivariogram", &job_settings::lag, group);
    number_option<int>(options, "--nlag", "Number of lags", &job_settings::lags, group);
    number_option<double>(options, "--window", "Length of the running mean along the road",
                          &job_settings::window, group);
}

void add_threshold_options(report_options& options) {
    const char* const group = "Thresholds";
    std::string names;
    for (const preset& each : presets())
        names += fmt::format("{}{}", names.empty() ? "" : ", ", each.name);
    change<std::string>(options, "--preset",
                        fmt::format("Rules whose thresholds are in force: {}", names).c_str(),
                        [](job_settings& settings, const std::string& name) {
                            choose_preset(settings.thresholds, name);
                            settings.preset = name;
                        })
        ->group(group);
    std::string keys;
    for (const known_threshold& each : known_thresholds())
        keys += fmt::format("{}{}", keys.empty() ? "" : ", ", each.key);
    change<std::vector<std::string>>(
        options, "--threshold",
        fmt::format("A threshold of your own, KEY=NUMBER or KEY=off, may be repeated: {}", keys)
            .c_str(),
        [](job_settings& settings, const std::vector<std::string>& texts) {
            for (const std::string& text : texts) {
                const std::size_t mark = text.find('=');
                const std::string key = text.substr(0, mark);
                const std::string value = mark == std::string::npos ? "" : text.substr(mark + 1);
                double number = 0;
                if (value == "off") {
                    drop_threshold(settings.thresholds, key);
                } else if (read_plain_number(value, number)) {
                    set_threshold(settings.thresholds, key, number, "command line");
                } else {
                    throw wrong_option("--threshold", ": \"{}\" is neither KEY=NUMBER nor KEY=off",
                                       text);
                }
            }
        })
        ->allow_extra_args(false)
        ->take_all()
        ->group(group);
}

void add_text_options(report_options& options) {
    const char* const group = "Texts";
    const auto add = [&](const char* name, const char* what, std::string report_texts::*field) {
        change<std::string>(options, name, what,
                            [field](job_settings& settings, const std::string& text) {
                                settings.texts.*field = text;
                            })
            ->group(group);
    };
    add("--title", "Title of the report", &report_texts::title);
    add("--project-name", "Project", &report_texts::project);
    add("--lot", "Lot", &report_texts::lot);
    add("--contractor", "Contractor", &report_texts::contractor);
    add("--inspector", "Inspector", &report_texts::inspector);
    add("--remarks", "Remarks", &report_texts::remarks);
    text_option(options, "--logo", "Picture in the head of the page: PNG, JPEG or SVG",
                &job_settings::logo, group);
    std::string languages;
    for (const std::string& each : qmx_report::languages())
        languages += fmt::format("{}{}", languages.empty() ? "" : ", ", each);
    text_option(options, "--lang", fmt::format("Language of the page: {}", languages).c_str(),
                &job_settings::language, group);
    text_option(options, "--time-stamp", "Time that the report bears, instead of now (ISO 8601)",
                &job_settings::time_stamp, group);
}

} // namespace

void add_report_command(CLI::App& program) {
    const auto options = std::make_shared<report_options>();
    CLI::App* const command = program.add_subcommand(
        "report", "All analyses of a lot: a page that is signed, a document, tables");
    options->command = command;
    add_reading_options(*command, options->reading);
    command->get_option("FILE")->required(false);
    command
        ->add_option("--job", options->job,
                     "Job file with files, columns, filters, thresholds and texts (qmx-ic init "
                     "writes one); the command line wins")
        ->group("Analysis");
    add_analysis_options(*options);
    add_threshold_options(*options);
    add_text_options(*options);
    const char* const group = "Output";
    text_option(*options, "-o,--output", "The page: one HTML file that needs no network",
                &job_settings::report, group);
    text_option(*options, "--document", "The report as one JSON document", &job_settings::document,
                group);
    text_option(*options, "--tables", "Folder for all tables as CSV", &job_settings::tables, group);
    text_option(*options, "--cells",
                "The cells with pass, value, verdict and all columns of the file: .gpkg, .csv, ...",
                &job_settings::cells, group);
    command->add_flag("--json", options->as_json, "Print the document")->group(group);
    command->add_flag("--exit-code", options->exit_code, "End with 3 when a threshold is missed")
        ->group(group);
    command->callback([options] { run(*options); });
}

} // namespace qmx_terminal
