#include "text/columns_report.hpp"

#include <fmt/format.h>

#include "text/reading_report.hpp"
#include "text/text_table.hpp"

namespace qmx_study {

namespace {

constexpr std::size_t longest_example = 28;

// Cuts a text at the end of a character.
std::string shortened(std::string text) {
    if (text.size() <= longest_example) return text;
    std::size_t end = longest_example;
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) --end;
    return text.substr(0, end) + "…";
}

std::string content_of(const column_contents& column) {
    if (column.numbers == 0) return column.texts == 0 ? "empty" : "text";
    return column.texts == 0 ? "numbers" : "numbers and text";
}

} // namespace

std::string columns_text(const columns_report& report) {
    std::string text = reading_text(report.source, report.points) + "\n";
    text_table table("rllrrrrll");
    table.add({"#", "column", "taken as", "numbers", "missing", "smallest", "largest", "unit",
               "example"});
    table.add_rule();
    for (std::size_t i = 0; i < report.columns.size(); ++i) {
        const column_contents& column = report.columns[i];
        const bool numbers = column.numbers > 0;
        const auto bound = [&](double value) {
            return numbers ? fmt::format("{:.10g}", value) : std::string();
        };
        table.add({fmt::format("{}", i + 1), column.name, column.taken_as,
                   numbers ? count_text(column.numbers) : content_of(column),
                   count_text(column.missing), bound(column.smallest), bound(column.largest),
                   column.unit, shortened(column.example)});
    }
    return text + table.text();
}

json columns_json(const columns_report& report) {
    json document = new_document("columns");
    add_reading(document, report.source, report.points);
    json list = json::array();
    for (const column_contents& column : report.columns) {
        const bool numbers = column.numbers > 0;
        list.push_back({{"name", column.name},
                        {"taken_as", text_or_null(column.taken_as)},
                        {"content", content_of(column)},
                        {"numbers", column.numbers},
                        {"texts", column.texts},
                        {"missing", column.missing},
                        {"smallest", numbers ? number_or_null(column.smallest) : json(nullptr)},
                        {"largest", numbers ? number_or_null(column.largest) : json(nullptr)},
                        {"unit", text_or_null(column.unit)},
                        {"example", text_or_null(column.example)}});
    }
    document["file_columns"] = list;
    return document;
}

} // namespace qmx_study
