#include "text/text_table.hpp"

#include <algorithm>
#include <array>
#include <cmath>

#include <fmt/format.h>

namespace qmx_terminal {

void text_table::add(std::vector<std::string> cells) {
    cells.resize(alignments.size());
    rows.push_back(std::move(cells));
}

void text_table::add_rule() {
    rows.emplace_back();
}

std::string text_table::text() const {
    std::vector<std::size_t> widths(alignments.size(), 0);
    for (const auto& row : rows)
        for (std::size_t j = 0; j < row.size(); ++j)
            widths[j] = std::max(widths[j], width_of(row[j]));
    std::size_t whole = 0;
    for (const std::size_t width : widths) whole += width + 2;
    std::string text;
    for (const auto& row : rows) {
        std::string line(margin, ' ');
        if (row.empty())
            for (std::size_t i = 0; i + 2 < whole; ++i) line += "─";
        for (std::size_t j = 0; j < row.size(); ++j) {
            const std::string blanks(widths[j] - width_of(row[j]), ' ');
            line += alignments[j] == 'r' ? blanks + row[j] : row[j] + blanks;
            line += "  ";
        }
        line.erase(line.find_last_not_of(' ') + 1);
        text += line + '\n';
    }
    return text;
}

std::size_t width_of(std::string_view text) {
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) {
        return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
    }));
}

std::string bar(double share, int full) {
    static constexpr std::array<const char*, 8> eighths{"", "▏", "▎", "▍", "▌", "▋", "▊", "▉"};
    if (!(share > 0)) return {};
    const int parts = static_cast<int>(std::lround(std::min(share, 1.0) * full * 8));
    std::string blocks;
    for (int i = 0; i < parts / 8; ++i) blocks += "█";
    blocks += eighths[static_cast<std::size_t>(parts % 8)];
    return blocks.empty() ? "▏" : blocks;
}

std::string wrapped(std::string_view text, std::size_t indent) {
    constexpr std::size_t longest_line = 96;
    std::string result;
    std::size_t column = indent;
    while (!text.empty()) {
        const std::string_view word = text.substr(0, text.find(' '));
        text.remove_prefix(std::min(word.size() + 1, text.size()));
        const std::size_t width = width_of(word);
        if (column > indent && column + 1 + width > longest_line) {
            result += '\n' + std::string(indent, ' ');
            column = indent;
        } else if (column > indent) {
            result += ' ';
            ++column;
        }
        result += word;
        column += width;
    }
    return result;
}

} // namespace qmx_terminal
