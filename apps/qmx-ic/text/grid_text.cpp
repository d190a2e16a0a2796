#include "text/grid_text.hpp"

#include <fmt/format.h>

#include "text/answer_parts.hpp"
#include "text/text_table.hpp"

namespace qmx_terminal {

using namespace qmx_study;

namespace {

std::string passes_text(grid_passes passes) {
    switch (passes) {
    case grid_passes::last: return "the value of the last pass of each cell";
    case grid_passes::mean: return "the mean of the passes of each cell";
    case grid_passes::all: return "every pass of each cell";
    }
    return {};
}

} // namespace

std::string grid_text(const grid_answer& answer) {
    const grid_settings& settings = answer.settings;
    const std::string unit = answer.reading.x.unit;
    const auto length = [&](double value) { return with_unit(number_text(value), unit); };
    std::string text = reading_text(answer.reading);
    text_table head("ll", 0);
    head.add({"Cells   ",
              fmt::format("{}, {} on a side", count_text(answer.cells), length(settings.cell))});
    head.add({"Drum", settings.drum_width > 0
                          ? length(settings.drum_width) + " wide, across the heading"
                          : std::string("none named: a record counts for its own cell")});
    head.add(
        {"Tracks",
         fmt::format("{} with {} places{}; records more than {} apart ({}) do not follow one "
                     "another",
                     count_text(answer.grid.tracks), count_text(answer.grid.places),
                     answer.track.empty() ? "" : ", by " + answer.track, length(settings.gap),
                     answer.gap_is_derived ? "ten times the median distance" : "named by --gap")});
    head.add({"Values", passes_text(settings.passes)});
    text += head.text() + "\nPasses\n";
    text_table table("rrrrl");
    table.add({"passes", "cells", with_unit("area", squared_unit(unit)), "%", ""});
    table.add_rule();
    for (const auto& [passes, cells] : answer.cells_by_passes) {
        const double share = static_cast<double>(cells) / static_cast<double>(answer.cells);
        const double area = static_cast<double>(cells) * settings.cell * settings.cell;
        table.add({fmt::format("{}", passes), count_text(cells), number_text(area),
                   fmt::format("{:.2f}", 100 * share), bar(share, widest_bar)});
    }
    text += table.text();
    if (!answer.output.empty() && answer.output != "-")
        text += fmt::format("\n{} rows written to {}\n",
                            count_text(static_cast<std::int64_t>(answer.grid.entries.size())),
                            answer.output);
    return text + notes_text(answer.notes);
}

} // namespace qmx_terminal
