// qmx-ic columns FILE: what the program recognises in a file, and which rows it would drop.

#include <algorithm>
#include <limits>
#include <memory>

#include <fmt/format.h>

#include "options/command.hpp"
#include "options/reading_options.hpp"
#include "study/lot/column_names.hpp"
#include "text/columns_report.hpp"

namespace qmx_study {

namespace {

struct columns_options {
    reading_options reading;
    bool as_json = false;
};

std::vector<column_contents> contents_of(table_source& source, const row_survey& survey,
                                         const lot& points, progress& shown) {
    const std::size_t count = source.columns.size();
    std::vector<column_contents> contents(count);
    for (std::size_t j = 0; j < count; ++j) {
        contents[j].name = source.columns[j].name;
        contents[j].unit = meaning_of_name(contents[j].name).unit;
        if (contents[j].unit.empty()) contents[j].unit = survey.columns[j].unit;
        contents[j].smallest = std::numeric_limits<double>::infinity();
        contents[j].largest = -contents[j].smallest;
    }
    const std::pair<const used_column&, const char*> roles[] = {
        {points.x, "x"}, {points.y, "y"}, {points.value, "value"}, {points.pass, "pass"}};
    for (const auto& [column, role] : roles)
        if (column.index >= 0) contents[static_cast<std::size_t>(column.index)].taken_as = role;

    source.rewind();
    while (source.next()) {
        if (source.record() % 4096 == 0)
            shown.note("looking at all columns", static_cast<double>(source.record()),
                       static_cast<double>(source.rows));
        if (source.is_delimited && survey.is_out_of_place(source)) continue;
        for (std::size_t j = 0; j < count; ++j) {
            column_contents& column = contents[j];
            const int index = static_cast<int>(j);
            const text_value cell = source.value(index, survey.style);
            if (cell.kind == text_kind::missing) {
                ++column.missing;
                continue;
            }
            if (column.example.empty()) column.example = trimmed(source.text(index));
            if (cell.kind == text_kind::not_a_number) {
                ++column.texts;
                continue;
            }
            ++column.numbers;
            column.smallest = std::min(column.smallest, cell.value);
            column.largest = std::max(column.largest, cell.value);
        }
    }
    shown.clear();
    return contents;
}

void run_columns(const columns_options& options) {
    progress shown;
    table_source source(options.reading.file, options.reading.layer, shown);
    const row_survey survey =
        survey_rows(source, missing_texts_of(options.reading), decimal_of(options.reading));
    reading_needs needs;
    needs.position = needs.value = needs.pass = need::complete;
    needs.allow_empty = true;
    const lot points = read_lot(source, survey, options.reading, needs, shown);
    columns_report report{source, points, contents_of(source, survey, points, shown)};
    if (options.as_json) {
        print_document(columns_json(report));
    } else {
        fmt::print("{}", columns_text(report));
    }
}

} // namespace

void add_columns_command(CLI::App& program) {
    const auto options = std::make_shared<columns_options>();
    CLI::App* const command = program.add_subcommand(
        "columns", "What is recognised in a file, and which rows would be dropped");
    add_reading_options(*command, options->reading);
    command->add_flag("--json", options->as_json, "Print JSON")->group("Output");
    command->callback([options] { run_columns(*options); });
}

} // namespace qmx_study
