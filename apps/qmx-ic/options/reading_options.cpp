#include "options/road.hpp"

#include <algorithm>
#include <string>
#include <thread>
#include <vector>

#include <fmt/format.h>

#include "options/commands.hpp"
#include "study/base/errors.hpp"
#include "study/base/number_text.hpp"
#include "study/lot/column_names.hpp"
#include "text/text_table.hpp"

namespace qmx_terminal {

using namespace qmx_study;

namespace {

constexpr const char* group = "Reading";

void add_files(CLI::App& command, reading_options& options) {
    command
        .add_option_function<std::vector<std::string>>(
            "FILE",
            [&options](const std::vector<std::string>& files) {
                options.file = files.front();
                options.further_files.assign(files.begin() + 1, files.end());
            },
            "Points: CSV (comma, semicolon or tab; .gz too), GeoPackage, Shapefile, GeoJSON "
            "or another vector format; - is standard input. Several files, one for each machine "
            "or day, make one lot")
        ->required();
}

// A text of ordinary size is read in a second by a few.
constexpr int most_threads = 64;

int threads_of_the_machine() {
    const unsigned known = std::thread::hardware_concurrency(); // 0 where it is not known
    return std::clamp(static_cast<int>(known), 1, most_threads);
}

// How a text file is laid out.
void add_text_options(CLI::App& command, reading_options& options) {
    command
        .add_option("--decimal", options.decimal,
                    "Decimal mark of a text file: auto, point or comma")
        ->check(CLI::IsMember({"auto", "point", "comma"}))
        ->capture_default_str()
        ->group(group);
    command
        .add_option("--header-line", options.header_line,
                    "Line of a text file that holds the names of the columns; otherwise found")
        ->check(CLI::PositiveNumber)
        ->group(group);
    command
        .add_option("--comment", options.comment,
                    "Start of the lines of a text file that are comments, such as \"#\"")
        ->group(group);
    options.threads = threads_of_the_machine();
    command
        .add_option("--threads", options.threads,
                    "Threads that read a text file; otherwise as many as the machine has. What is "
                    "read is the same with any number")
        ->check(CLI::Range(1, most_threads))
        ->group(group);
}

} // namespace

void add_reading_options(CLI::App& command, reading_options& options) {
    std::string missing_texts;
    for (const std::string& text : default_missing_texts()) missing_texts += " " + text;

    add_files(command, options);
    command.add_option("--x", options.x, "Column of the eastings")->group(group);
    command.add_option("--y", options.y, "Column of the northings")->group(group);
    command
        .add_option("--value", options.value,
                    fmt::format("Column of the measured value; otherwise the first of these names "
                                "that is filled in at least half of the rows: {}",
                                measured_value_order()))
        ->group(group);
    command.add_option("--pass", options.pass, "Column of the pass number")->group(group);
    command
        .add_option("--missing", options.missing,
                    fmt::format("Text of a missing value, may be repeated; these always count:{}",
                                missing_texts))
        ->group(group)
        ->allow_extra_args(false)
        ->take_all();
    command
        .add_option("--where", options.where,
                    "Only rows that satisfy a filter, say \"PassCount >= 2 AND VibeState = 'On'\"; "
                    "numbers compare as numbers, a missing field is NULL")
        ->group(group);
    add_text_options(command, options);
    command.add_option("--layer", options.layer, "Layer of a file with several")->group(group);
    command
        .add_option("--crs", options.crs,
                    "Coordinate system of the positions, where the file does not name it: a code "
                    "such as EPSG:26915")
        ->group(group);
    command
        .add_option("--project", options.project,
                    "Planar coordinate system for longitudes and latitudes: utm (the zone of the "
                    "data) or a code such as EPSG:26915")
        ->group(group);
}

void end_failed(const analysis_failure& failure) {
    if (!failure.has_failed()) return;
    const std::string explanation = wrapped(failure.explanation, 2);
    if (!failure.event) throw printed_failure(explanation);
    throw printed_failure(failure.event->text() + "\n  " + explanation);
}

} // namespace qmx_terminal
