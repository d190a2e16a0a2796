#include "text/columns_text.hpp"

#include <fmt/format.h>

#include "text/answer_parts.hpp"
#include "text/text_table.hpp"

namespace qmx_terminal {

using namespace qmx_study;

namespace {

constexpr std::size_t longest_example = 28;

// Cuts a text at the end of a character.
std::string shortened(std::string text) {
    if (text.size() <= longest_example) return text;
    std::size_t end = longest_example;
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) --end;
    return text.substr(0, end) + "…";
}

} // namespace

std::string columns_text(const columns_answer& answer) {
    std::string text = reading_text(answer.reading) + "\n";
    text_table table("rllrrrrll");
    table.add({"#", "column", "taken as", "numbers", "missing", "smallest", "largest", "unit",
               "example"});
    table.add_rule();
    for (std::size_t i = 0; i < answer.columns.size(); ++i) {
        const column_contents& column = answer.columns[i];
        const bool numbers = column.numbers > 0;
        const auto bound = [&](double value) {
            return numbers ? fmt::format("{:.10g}", value) : std::string();
        };
        table.add({fmt::format("{}", i + 1), column.name, column.taken_as,
                   numbers ? count_text(column.numbers) : column.content(),
                   count_text(column.missing), bound(column.smallest), bound(column.largest),
                   column.unit, shortened(column.example)});
    }
    return text + table.text();
}

} // namespace qmx_terminal
