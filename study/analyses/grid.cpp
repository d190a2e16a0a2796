#include "study/analyses/grid.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <unordered_map>
#include <utility>

#include <fmt/format.h>

#include "study/analyses/lot_notes.hpp"
#include "study/analyses/mesh.hpp"
#include "study/analyses/wrong_option.hpp"
#include "study/base/portable_math.hpp"
#include "study/base/value_text.hpp"
#include "study/lot/plane.hpp"

namespace qmx_study {

namespace {

constexpr double most_cells_across = 200; // of a drum
constexpr double most_cells_a_step = 50;

// The numbers of the tracks that a column names, for each point.
std::vector<std::int32_t> tracks_named(const std::string& name, loaded_lot& lot, progress& shown) {
    table_source& source = *lot.table.source;
    const int column = source.column_chosen(name);
    if (column < 0)
        throw usage_error(fmt::format("{}: there is no column {}; there are: {}", source.file, name,
                                      source.column_list()),
                          error_place{"--track", source.file, 0, name});
    std::vector<std::int32_t> tracks;
    std::unordered_map<std::string, std::int32_t> known;
    const record_numbers& records = lot.data.records;
    source.rewind_for({column}, false);
    while (tracks.size() < records.size() && source.next()) {
        if (source.record() % 4096 == 0)
            shown.note("reading tracks", static_cast<double>(source.record()),
                       static_cast<double>(records.back()));
        if (source.record() != records[tracks.size()]) continue;
        const auto number = known.try_emplace(std::string(source.text(column)),
                                              static_cast<std::int32_t>(known.size()));
        while (tracks.size() < records.size() && records[tracks.size()] == source.record())
            tracks.push_back(number.first->second); // several points
    }
    source.refuse_if_changed();
    tracks.resize(records.size());
    return tracks;
}

// Of successive records of a track, where they moved.
double median_step_of(const std::vector<track_record>& records) {
    std::unordered_map<std::int32_t, const track_record*> last;
    std::vector<double> steps;
    for (const track_record& record : records) {
        const track_record*& before = last[record.track];
        if (before) {
            const double step = portable::length_of(record.x - before->x, record.y - before->y);
            if (step > 0) steps.push_back(step);
        }
        before = &record;
    }
    if (steps.empty()) return 0;
    const auto middle = steps.begin() + static_cast<std::ptrdiff_t>(steps.size() / 2);
    std::nth_element(steps.begin(), middle, steps.end());
    return *middle;
}

void refuse_far_positions(const loaded_lot& lot, double cell) {
    for (std::size_t i = 0; i < lot.data.points.size(); ++i) {
        const t_icdata& point = lot.data.points[i];
        if (std::fabs(point.d_x) <= farthest_cell * cell &&
            std::fabs(point.d_y) <= farthest_cell * cell)
            continue;
        throw usage_error(
            fmt::format("{}, {}: the position {}, {} lies more than 1e9 cells from 0, 0; leave the "
                        "row out with --where",
                        lot.source().file, lot.place(lot.data.records[i]), number_text(point.d_x),
                        number_text(point.d_y)),
            error_place{
                "--where", lot.source().file, lot.source().line_of(lot.data.records[i]), {}});
    }
}

void settle_gap(grid_answer& answer, const grid_question& question) {
    const double cell = answer.settings.cell;
    answer.gap_is_derived = !question.gap;
    answer.settings.gap = question.gap.value_or(10 * answer.median_step);
    if (answer.settings.drum_width > 0 && answer.median_step > most_cells_a_step * cell)
        throw wrong_option("--cell",
                           " {}: successive records are {} apart, too far for such cells; take "
                           "larger ones, or name the column that tells machines apart with --track",
                           number_text(cell), number_text(answer.median_step));
}

void add_notes(grid_answer& answer, const loaded_lot& lot) {
    note_chosen_value(answer.notes, lot);
    if (answer.settings.drum_width > 0) return;
    if (lattice_of(lot.data.points))
        answer.notes.push_back("The positions lie on a lattice already: the other commands take "
                               "them as they are.");
    answer.notes.push_back("Without --drum-width a record counts for the cell that it lies in "
                           "alone, and the ground beside it stays empty.");
    if (answer.median_step > answer.settings.cell)
        answer.notes.push_back(fmt::format(
            "Successive records are {} apart, more than a cell: cells between them stay empty.",
            number_text(answer.median_step)));
}

} // namespace

void check(const grid_question& question) {
    const auto is_length = [](double length) { return std::isfinite(length) && length > 0; };
    if (!is_length(question.cell))
        throw wrong_option("--cell", " {}: a length above 0 is wanted", number_text(question.cell));
    if (question.gap && !is_length(*question.gap))
        throw wrong_option("--gap", " {}: a length above 0 is wanted", number_text(*question.gap));
    if (!question.drum_width) return;
    if (!is_length(*question.drum_width))
        throw wrong_option("--drum-width", " {}: a length above 0 is wanted",
                           number_text(*question.drum_width));
    if (*question.drum_width > most_cells_across * question.cell)
        throw wrong_option("--drum-width", " {}: that is more than {} cells; take larger ones",
                           number_text(*question.drum_width), number_text(most_cells_across));
}

reading_needs needs_of(const grid_question&) {
    reading_needs needs;
    needs.position = need::required;
    needs.pass = need::unused;
    return needs;
}

grid_answer analyse(const grid_question& question, loaded_lot& lot, progress& shown) {
    refuse_degrees(lot.source(), lot.data);
    refuse_mixed_units(lot.data, "a cell");
    refuse_far_positions(lot, question.cell);
    grid_answer answer;
    answer.reading = account_of(lot);
    answer.system = lot.data.system;
    answer.track = question.track;
    answer.settings = {question.cell, question.drum_width.value_or(0), 0, question.passes};
    std::vector<std::int32_t> tracks;
    if (!question.track.empty()) tracks = tracks_named(question.track, lot, shown);
    std::vector<track_record> records;
    records.reserve(lot.data.points.size());
    for (std::size_t i = 0; i < lot.data.points.size(); ++i) {
        const t_icdata& point = lot.data.points[i];
        records.push_back({point.d_x, point.d_y, point.d_val, tracks.empty() ? 0 : tracks[i]});
    }
    answer.median_step = median_step_of(records);
    settle_gap(answer, question);
    answer.grid = grid_tracks(records, answer.settings, shown);
    const std::vector<grid_entry>& entries = answer.grid.entries;
    for (std::size_t i = 0; i < entries.size(); ++i) {
        const bool is_last = i + 1 == entries.size() || entries[i + 1].row != entries[i].row ||
                             entries[i + 1].column != entries[i].column;
        if (!is_last) continue;
        ++answer.cells;
        ++answer.cells_by_passes[entries[i].pass];
    }
    add_notes(answer, lot);
    return answer;
}

} // namespace qmx_study
