// Aligned text.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "study/base/value_text.hpp"

namespace qmx_terminal {

// Columns of text, each as wide as its widest cell.
class text_table {
public:
    // One letter a column: 'l' flush left, 'r' flush right.
    explicit text_table(std::string alignment, std::size_t indent = 2)
        : alignments(std::move(alignment)), margin(indent) {}
    void add(std::vector<std::string> cells);
    void add_rule(); // a line under what came before
    bool empty() const { return rows.empty(); }
    std::string text() const;

private:
    std::string alignments;
    std::size_t margin;
    std::vector<std::vector<std::string>> rows; // an empty one is a rule
};

// Characters that a UTF-8 text takes on the screen.
std::size_t width_of(std::string_view text);

constexpr int widest_bar = 40; // characters, where nothing else is settled

// A bar of blocks, `full` characters for 1.
std::string bar(double share, int full);
// Breaks a text between words so that no line, its indent included, is longer than 96 characters. The
// first line comes without its indent.
std::string wrapped(std::string_view text, std::size_t indent);

} // namespace qmx_terminal
