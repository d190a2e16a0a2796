#include "text/answer_parts.hpp"

#include <algorithm>

#include <fmt/format.h>

#include "text/text_table.hpp"

namespace qmx_terminal {

using namespace qmx_study;

namespace {

std::string other_values(const reading_account& reading) {
    std::string names;
    for (const value_candidate& candidate : reading.candidates)
        if (candidate.name != reading.value.name)
            names += fmt::format("{}{} ({})", names.empty() ? "" : ", ", candidate.name,
                                 candidate.filled == 0 ? "no values"
                                                       : count_text(candidate.filled) + " values");
    return names;
}

std::string first_of(const dropped_account& reason) {
    std::string text = "first on " + reason.first_place;
    if (!reason.rows.value.empty()) text += fmt::format(": \"{}\"", reason.rows.value);
    return text;
}

std::string position_text(const reading_account& reading) {
    return fmt::format("{}, {}{}  {}", reading.x.name, reading.y.name, unit_suffix(reading.x.unit),
                       reading.is_projected ? "projected to " + reading.system : reading.x.why);
}

// A job file may bring further filters than the option.
const char* filter_text(const reading_account& reading) {
    const bool is_option =
        std::all_of(reading.filters.begin(), reading.filters.end(),
                    [](const filtered_rows& filter) { return filter.what == "where"; });
    return is_option ? "--where" : "filters";
}

std::string rows_text(const reading_account& reading) {
    std::string rows = fmt::format("{} read, {} used", count_text(reading.rows_read),
                                   count_text(reading.rows_used));
    if (reading.rows_dropped > 0)
        rows += fmt::format(", {} dropped", count_text(reading.rows_dropped));
    if (reading.rows_filtered > 0)
        rows += fmt::format(", {} left out by {}", count_text(reading.rows_filtered),
                            filter_text(reading));
    if (reading.earlier_passes > 0)
        rows += fmt::format(", {} earlier passes left out", count_text(reading.earlier_passes));
    if (reading.left_without_position > 0)
        rows += fmt::format(", {} without a position", count_text(reading.left_without_position));
    if (reading.without_position > 0)
        rows += fmt::format(" ({} of the used without a position)",
                            count_text(reading.without_position));
    return rows;
}

std::string file_rows_text(const file_account& file, const char* filter) {
    std::string rows = fmt::format("{}: {} read, {} used", file.file, count_text(file.read),
                                   count_text(file.used));
    if (file.dropped > 0) rows += fmt::format(", {} dropped", count_text(file.dropped));
    if (file.filtered > 0)
        rows += fmt::format(", {} left out by {}", count_text(file.filtered), filter);
    if (file.left_out() > 0)
        rows += fmt::format(", {} of earlier passes or without a position",
                            count_text(file.left_out()));
    return rows;
}

} // namespace

std::string reading_text(const reading_account& reading, head_of_positions head) {
    text_table table("ll", 0);
    table.add(
        {"File", fmt::format("{}  ({}, {} columns{})", reading.file, reading.format,
                             reading.columns, reading.decimal == ',' ? ", decimal comma" : "")});
    if (reading.value.found()) {
        table.add({"Value", named_with_unit(reading.value) + "  " + reading.value.why});
        if (const std::string others = other_values(reading); !others.empty())
            table.add({"", "others: " + others});
    }
    if (reading.has_positions()) {
        if (head == head_of_positions::as_pair)
            table.add({"Columns ", fmt::format("{}, {}  {}", named_with_unit(reading.x),
                                               named_with_unit(reading.y), reading.x.why)});
        else
            table.add({"Position", position_text(reading)});
    }
    if (reading.pass.found()) table.add({"Pass", reading.pass.name + "  " + reading.pass.why});
    table.add({"Rows", rows_text(reading)});
    if (reading.files.size() > 1)
        for (const file_account& file : reading.files)
            table.add({"", file_rows_text(file, filter_text(reading))});
    bool is_first = true;
    for (const dropped_account& reason : reading.dropped) {
        table.add(
            {is_first ? "Dropped" : "", fmt::format("{}: {}, {}", count_text(reason.rows.count),
                                                    reason.rows.text, first_of(reason))});
        is_first = false;
    }
    for (const stripped_text& stripped : reading.stripped)
        table.add({"Stripped",
                   fmt::format("the {} \"{}\"{} from {} value{} of {}",
                               stripped.is_unit ? "unit" : "label", stripped.text,
                               stripped.is_unit ? "" : " and the like", count_text(stripped.count),
                               stripped.count == 1 ? "" : "s", stripped.column)});
    for (const std::string& note : reading.notes) table.add({"Note", note});
    return table.text();
}

std::string notes_text(const std::vector<std::string>& notes) {
    std::string text;
    if (!notes.empty()) text += "\n";
    for (const std::string& note : notes) text += "Note: " + wrapped(note, 6) + "\n";
    return text;
}

std::string with_unit(const std::string& number, const std::string& unit) {
    return unit.empty() ? number : number + " " + unit;
}

std::string named_with_unit(const used_column& column) {
    return column.name + unit_suffix(column.unit);
}

} // namespace qmx_terminal
